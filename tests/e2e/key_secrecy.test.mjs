// The application sends its key (APP_KEY), with which it identifies itself, to its server. It
// exposes the key nowhere else except in the user agent of the web view, which every host gets.

import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join, relative } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { awaitErrorPage, unresponsiveServerMessage } from '../support/desktop/error_page.mjs';
import { filesBelow } from '../support/desktop/leftovers.mjs';
import { link } from '../support/desktop/page.mjs';
import { pathOf, readOrEmpty } from '../support/desktop/processes.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// Returns what other processes of the user can read of a process: its command line, environment
/// and name.
const readableText = (pid) =>
  ['cmdline', 'environ', 'comm'].map((name) => readOrEmpty(`/proc/${pid}/${name}`)).join('\0');

/// Starts to watch the user's processes. Returns a function that stops and returns the names of
/// all processes and of those with the key in a readable text.
function watchProcesses(user) {
  const seen = { all: new Set(), withKey: new Set() };
  const timer = setInterval(() => {
    for (const { pid, name } of user.processes()) {
      seen.all.add(name);
      if (readableText(pid).includes(APP_KEY)) seen.withKey.add(name);
    }
  }, 20);
  const stop = () => {
    clearInterval(timer);
    return seen;
  };
  // Also after a failure. The timer would keep Node running.
  user.cleanups.push(stop);
  return stop;
}

/// Creates wrappers of the programs that the application runs, since some end too soon to be
/// watched. Each first writes its own and its parent's command line and environment to the file
/// `log`. PATH finds the wrappers first.
function createLoggingPrograms(user) {
  const folder = join(user.folder, 'programs');
  const log = join(user.folder, 'programs.log');
  mkdirSync(folder);
  for (const name of ['lsof', 'ps', 'node']) {
    writeFileSync(join(folder, name), `#!/bin/sh
for process in $$ $PPID; do cat /proc/$process/cmdline /proc/$process/environ; done >>'${log}'
exec '${pathOf(name)}' "$@"
`, { mode: 0o755 });
  }
  return { PATH: `${folder}:${process.env.PATH}`, log };
}

test('the key is in no command line, environment, log or message, and in expected files only',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const { PATH, log } = createLoggingPrograms(user);
    const stopWatching = watchProcesses(user);
    const layout = await user.startWithPage(link('export', '/api/export'),
      { '/api/export': csvRoute() }, { environment: { PATH } });
    // "one;two" is the default body of csvRoute().
    assert.equal(await desktop.clickAndAwaitFile(layout, 'export', 'export.csv'), 'one;two\n');
    const { env, argv } = await user.localServer.awaitStarted();
    assert.ok(!JSON.stringify({ env, argv }).includes(APP_KEY));

    // crashServer() and awaitErrorPage() compare the whole text of the error page, so it does not
    // contain the key.
    await user.crashServer();
    user.localServer.setBehaviour({ closesConnection: true });
    await screen.pressKeys('ctrl+r');
    await awaitErrorPage(screen, unresponsiveServerMessage);
    await user.quit();

    const { all, withKey } = stopWatching();
    // The kernel truncates names to 15 bytes.
    for (const name of ['orvel-os', 'WebKitWebProces', 'WebKitNetworkPr', 'node']) {
      assert.ok([...all].some((each) => each.startsWith(name)), `${name} is missing among ${[...all]}`);
    }
    assert.deepEqual([...withKey], []);
    const programLog = readFileSync(log, 'latin1');
    // The log has command lines, here an argument of lsof, and environments, here a variable.
    for (const text of ['-sTCP:LISTEN', 'ORVEL_OS_ROOT=']) assert.ok(programLog.includes(text));
    assert.ok(!programLog.includes(APP_KEY), 'no program gets the key');

    const [{ output }] = user.runs;
    assert.ok(!output.includes(APP_KEY), output);
    assert.ok(!readFileSync(user.localServer.log, 'latin1').includes(APP_KEY));
    // The bundle's settings, the server's record of its requests, and the web view's cookies.
    const expected = [/^folder with spaces\/.*\/Info\.plist$/, /^data root\/v3\/record\.jsonl$/,
      /^data\/.*cookies[^/]*$/];
    const files = filesBelow(user.folder)
      .filter((path) => readFileSync(path, 'latin1').includes(APP_KEY))
      .map((path) => relative(user.folder, path));
    assert.ok(files.some((path) => path.endsWith('record.jsonl')), 'the search finds the key');
    assert.deepEqual(
      files.filter((path) => !expected.some((pattern) => pattern.test(path))), []);
  });

test('requests to another host have neither the key header nor a cookie', async (user) => {
  const desktop = new Desktop(user);
  const other = await user.openOnlineServer({ routes: { '/file': csvRoute('elsewhere\n') } });
  const { address } = other;
  const redirect = (path) => ({ status: 302, headers: { location: `${address}${path}` } });
  const layout = await user.startWithPage(`
    ${link('file', '/api/bestand/1')}
    <img src="${address}image"><img src="/redirected-image">
    <link rel="stylesheet" href="${address}style.css">
    <script src="${address}script.js"></script>
    <script>
      const options = { mode: 'no-cors', credentials: 'include' };
      fetch('${address}fetch', options).catch(() => {});
      fetch('/redirected-fetch', options).catch(() => {});
      navigator.sendBeacon('${address}beacon', 'x');
    </script>`, {
    '/redirected-image': redirect('image-redirect'),
    '/redirected-fetch': redirect('fetch-redirect'),
    '/api/bestand/1': redirect('file'),
  });
  assert.equal(await desktop.clickAndAwaitFile(layout, 'file', 'file.csv'), 'elsewhere\n');
  const paths = ['image', 'image-redirect', 'style.css', 'script.js', 'fetch', 'fetch-redirect',
    'beacon', 'file'];
  for (const path of paths) {
    await waitFor(`a request for ${path}`, () =>
      other.requests.some(({ url }) => url === `/${path}`));
  }
  for (const { url, headers, body } of other.requests) {
    // The web view has one user agent, with the key, for all hosts. The download of /file is a
    // request of the application itself.
    const { 'user-agent': agent, ...rest } = headers;
    if (url === '/file') assert.ok(!agent?.includes(APP_KEY), agent);
    assert.doesNotMatch(JSON.stringify({ url, rest, body }),
      new RegExp(`${APP_KEY}|orvelapp`), url);
    assert.equal(rest['x-orvel-app'], undefined, url);
    assert.equal(rest.cookie, undefined, url);
  }
  // The application's server gets the header and the cookie.
  const [{ headers }] = user.localServer.requestsTo('/api/bestand/1');
  assert.equal(headers['x-orvel-app'], APP_KEY);
  assert.match(headers.cookie, new RegExp(`orvelapp=${APP_KEY}`));
});
