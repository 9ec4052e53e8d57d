// The application's key is told to its server, and to nobody else.

import assert from 'node:assert/strict';
import { chmodSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { spawnSync } from 'node:child_process';
import { join, relative } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { OnlineServer } from '../support/desktop/online_server.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// What anybody on this machine may read of a process, and what its owner may.
function readable(pid) {
  return ['cmdline', 'environ', 'comm'].map((name) => {
    try {
      return readFileSync(`/proc/${pid}/${name}`, 'latin1');
    } catch {
      return '';
    }
  }).join('\0');
}

/// Looks at every process of the user, again and again until told to stop, and
/// gives the names of all and of those that hold the key.
function watchProcesses(user) {
  const seen = { all: new Set(), telling: new Set() };
  const timer = setInterval(() => {
    for (const { pid, name } of user.processes()) {
      seen.all.add(name);
      if (readable(pid).includes(KEY)) seen.telling.add(name);
    }
  }, 20);
  return () => {
    clearInterval(timer);
    return seen;
  };
}

/// Tools that are gone too soon to be looked at: each leaves its own and its
/// shell's command line and environment behind, then does its work.
function tellingTools(user) {
  const folder = join(user.folder, 'tools');
  const told = join(user.folder, 'told by tools');
  mkdirSync(folder);
  for (const name of ['lsof', 'ps', 'node']) {
    const { stdout } = spawnSync('sh', ['-c', `command -v ${name}`], { encoding: 'utf8' });
    const path = join(folder, name);
    writeFileSync(path, `#!/bin/sh
for process in $$ $PPID; do cat /proc/$process/cmdline /proc/$process/environ; done >>'${told}'
exec '${stdout.trim()}' "$@"
`);
    chmodSync(path, 0o755);
  }
  return { PATH: `${folder}:${process.env.PATH}`, told };
}

/// The files below a folder whose bytes hold the key.
function filesWithKey(folder) {
  return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const path = join(folder, entry.name);
    if (entry.isDirectory()) return filesWithKey(path);
    return entry.isFile() && readFileSync(path, 'latin1').includes(KEY) ? [path] : [];
  });
}

test('the key stands in no list of processes, no log and no message', { timeout: 120_000 },
  async (user, screen) => {
    const desktop = new Desktop(user);
    const { PATH, told } = tellingTools(user);
    const stopWatching = watchProcesses(user);
    const page = await user.startWithPage('<a id="uit" href="/api/export">uit</a>', {
      routes: { '/api/export': { headers: { 'content-type': 'text/csv' }, body: 'een\n' } },
    }, { environment: { PATH } });
    await screen.clickElement(page, 'uit');
    assert.equal(await desktop.awaitFile('export.csv'), 'een\n');
    const { pid, env, argv } = await user.root.awaitStarted();
    assert.doesNotMatch(JSON.stringify({ env, argv }), new RegExp(KEY));

    // The messages of a server that has gone, and of one that never comes.
    kill(pid);
    const gone = await screen.awaitPageText((text) => text.includes('gestopt'));
    user.root.setBehaviour({ closesConnection: true });
    await screen.pressKeys('ctrl+r');
    const silent = await screen.awaitPageText((text) => text.includes('reageert niet'),
      { timeout: 60_000 });
    for (const text of [gone, silent]) assert.doesNotMatch(text, new RegExp(KEY));
    const { output } = user.runs[0];
    await user.quit();

    const { all, telling } = stopWatching();
    for (const name of ['orvel-os', 'WebKitWebProces', 'WebKitNetworkPr', 'node']) {
      assert.ok([...all].some((each) => each.startsWith(name)), `${name} among ${[...all]}`);
    }
    assert.deepEqual([...telling], []);
    const tools = readFileSync(told, 'latin1');
    for (const word of ['-sTCP:LISTEN', 'ORVEL_OS_ROOT=']) assert.ok(tools.includes(word), word);
    assert.ok(!tools.includes(KEY), 'a tool was told the key');

    assert.ok(!output.includes(KEY), output);
    assert.ok(!readFileSync(user.root.log, 'latin1').includes(KEY));
    // The bundle brings it, the web view keeps it as its cookie, and the test's
    // own server writes down all that it hears.
    const expected = /^(map met spaties\/.*\/Info\.plist|de gegevens\/v3\/record\.jsonl|data\/.*cookies[^/]*)$/;
    const files = filesWithKey(user.folder).map((path) => relative(user.folder, path));
    assert.ok(files.some((path) => path.endsWith('record.jsonl')), 'the search finds what is there');
    assert.deepEqual(files.filter((path) => !expected.test(path)), []);
  });

test('another host learns neither key nor cookie, whatever leads to it', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const other = await OnlineServer.open({
      routes: { '/bestand': { headers: { 'content-type': 'text/csv' }, body: 'elders\n' } },
    });
    try {
      const to = (path) => ({ status: 302, headers: { location: `${other.address}${path}` } });
      const page = await user.startWithPage(`
        <a id="bestand" href="/api/bestand/1">bestand</a>
        <img src="${other.address}plaatje"><img src="/omweg">
        <link rel="stylesheet" href="${other.address}stijl.css">
        <script src="${other.address}script.js"></script>
        <script>
          const options = { mode: 'no-cors', credentials: 'include' };
          fetch('${other.address}gehaald', options).catch(() => {});
          fetch('/omweg-voor-script', options).catch(() => {});
          navigator.sendBeacon('${other.address}baken', 'x');
        </script>`, {
        routes: {
          '/omweg': to('omgeleid'),
          '/omweg-voor-script': to('script-omgeleid'),
          '/api/bestand/1': to('bestand'),
        },
      });
      await screen.clickElement(page, 'bestand');
      assert.equal(await desktop.awaitFile('bestand.csv'), 'elders\n');
      const paths = ['plaatje', 'omgeleid', 'stijl.css', 'script.js', 'gehaald',
        'script-omgeleid', 'baken', 'bestand'];
      for (const path of paths) {
        await waitFor(`a request for ${path}`, () => other.requestsTo(`/${path}`).length > 0);
      }
      for (const { url, headers, body } of other.requests) {
        // A page has one user agent for all hosts; the application itself has none.
        const { 'user-agent': agent, ...rest } = headers;
        if (url === '/bestand') assert.ok(!agent?.includes(KEY), agent);
        assert.doesNotMatch(JSON.stringify({ url, rest, body }), new RegExp(`${KEY}|orvelapp`), url);
        assert.equal(rest['x-orvel-app'], undefined, url);
        assert.equal(rest.cookie, undefined, url);
      }
      // Its own server is told both all the while.
      const [asked] = user.root.requests('/api/bestand/1');
      assert.equal(asked.headers['x-orvel-app'], KEY);
      assert.match(asked.headers.cookie, new RegExp(`orvelapp=${KEY}`));
      await user.quit();
    } finally {
      other.close();
    }
  });
