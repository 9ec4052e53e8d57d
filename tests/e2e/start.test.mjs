// The start of the application until it shows the page, and what a restart keeps.

import assert from 'node:assert/strict';
import {
  cpSync, existsSync, mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync,
} from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { filesOpenForWriting } from '../support/desktop/processes.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// A pixel with a channel above this value is bright. The backgrounds of all pages and of the
/// window are darker.
const brightChannel = 140;
/// At least the height of the header bar, whose labels are bright.
const maxHeaderBarHeight = 60;

test('the first start launches and probes the server, sets the cookie and shows the page',
  async (user, screen) => {
    // The application empties this log when it starts the server.
    mkdirSync(dirname(user.localServer.log));
    writeFileSync(user.localServer.log, 'line of an earlier run\n'.repeat(1000));

    // The application ignores its arguments, and replaces PORT for the server.
    user.start({
      args: ['--help', '--version', '--gapplication-service', 'file.txt'],
      environment: { PORT: '1', USER_VARIABLE: 'kept' },
    });
    const layout = await user.localServer.awaitPainted();
    await screen.awaitPageOnScreen();
    const window = await screen.awaitWindow();
    await waitFor('the icon of the window', async () =>
      /Icon \(\d+ x \d+\)/.test(await screen.property(window, '_NET_WM_ICON')));

    const { argv, cwd, env } = await user.localServer.awaitStarted();
    assert.deepEqual(argv.slice(1), [user.localServer.script]);
    assert.equal(cwd, user.localServer.dataRoot);
    assert.equal(env.PORT, '4767');
    // The application gives every server this fixed search path.
    assert.equal(env.PATH, '/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin');
    assert.equal(env.HOME, user.home);
    assert.equal(env.USER_VARIABLE, 'kept');

    const requests = user.localServer.requests;
    const probes = requests.filter(({ url }) => url === '/api/wie');
    assert.equal(probes.length, 1, 'the first response ends the probing');
    assert.equal(requests[0], probes[0], 'nothing is loaded before the server is ready');
    assert.equal(probes[0].headers['x-orvel-app'], APP_KEY);
    assert.equal(probes[0].headers.cookie, undefined);

    const webViewRequests = requests.filter(({ url }) => url !== '/api/wie');
    assert.ok(webViewRequests.some(({ url }) => url === '/'));
    for (const { url, headers } of webViewRequests) {
      assert.equal(headers['x-orvel-app'], undefined, url);
      assert.match(headers.cookie ?? '', new RegExp(`(^|; )orvelapp=${APP_KEY}(;|$)`), url);
      assert.ok(headers['user-agent'].endsWith(` ORVELOS/${APP_KEY}`), headers['user-agent']);
    }
    assert.ok(layout.agent.endsWith(` ORVELOS/${APP_KEY}`), layout.agent);
    assert.ok(layout.cookies.includes(`orvelapp=${APP_KEY}`), String(layout.cookies));

    const written = user.processes().flatMap(({ pid }) => filesOpenForWriting(pid));
    assert.deepEqual(written.filter((path) => !path.startsWith(`${user.folder}/`)), []);
    // The fixture server prints one line on each output. '' follows the last line feed.
    const logLines = readFileSync(user.localServer.log, 'utf8').split('\n').sort();
    assert.deepEqual(logLines, ['', 'line on standard error', 'line on standard output']);
  });

test('the application shows the page of the demo server', async (user, screen) => {
  const demo = join(user.folder, 'demo');
  const recordPath = join(user.folder, 'demo.jsonl');
  cpSync(fileURLToPath(new URL('../../demo', import.meta.url)), demo, { recursive: true });
  rmSync(join(demo, 'v3/.local'), { recursive: true, force: true });
  user.start({ environment: { ORVEL_OS_ROOT: demo, ORVEL_DEMO_RECORD: recordPath } });

  const readRecord = () => {
    if (!existsSync(recordPath)) return [];
    return readFileSync(recordPath, 'utf8').split('\n').slice(0, -1).map(JSON.parse);
  };
  const requestsTo = (path) => readRecord().filter(({ url }) => url?.split('?')[0] === path);
  // The demo page sends this request once it is painted.
  await waitFor('the painted page', () => requestsTo('/api/getoond').length > 0);
  // The text of the page is bright.
  const minBrightShare = 0.001;
  await waitFor('the page on the screen', () =>
    screen.screenshot().shareBrighterThan(brightChannel, maxHeaderBarHeight) > minBrightShare);
  assert.equal(requestsTo('/api/wie')[0].headers['x-orvel-app'], APP_KEY);
  assert.match(requestsTo('/')[0].headers.cookie, new RegExp(`orvelapp=${APP_KEY}`));
  // The demo server prints that it listens.
  assert.match(readFileSync(join(demo, 'v3/.local/server.log'), 'utf8'), /luistert/);
  await user.quit();
  assert.equal(readRecord().at(-1).event, 'stopped');
});

test('the screen stays dark from the first frame to the page', async (user, screen) => {
  // The labels and buttons of the header bar are bright.
  const maxBrightShare = 0.02;
  user.start();
  let count = 0;
  await waitFor('the page on the screen', async () => {
    const screenshot = screen.screenshot();
    count += 1;
    const share = screenshot.shareBrighterThan(brightChannel);
    assert.ok(share <= maxBrightShare,
      `screenshot ${count}: ${(share * 100).toFixed(1)} % is bright`);
    return screenshot.shows(pageColour);
  }, { every: 1 });
  assert.ok(count > 1, 'no screenshot was taken before the page');
});

test('without a display the application exits with an error message', async (user) => {
  const run = user.start({ environment: { DISPLAY: undefined } });
  const { code, signal } = await user.awaitExit(run);
  assert.equal(signal, null);
  assert.notEqual(code, 0);
  assert.match(run.output, /display/i);
  assert.deepEqual(user.localServer.record(), []);
});

test('cookies, local storage and the window size survive a restart', async (user, screen) => {
  await user.startAndShowPage();
  const [first] = user.localServer.reported('painted');
  assert.equal(first.loads, 1);
  assert.equal(first.width, screen.screenshot().width, 'a first window is maximised');

  const window = await screen.awaitWindow();
  await screen.runTool('wmctrl', '-i', '-r', window, '-b', 'remove,maximized_vert,maximized_horz');
  await waitFor('a window that is not maximised', async () =>
    !/MAXIMIZED/.test(await screen.property(window, '_NET_WM_STATE')));
  await screen.runTool('xdotool', 'windowsize', window, '1100', '700');
  // The range leaves room for borders of the window.
  const resized = await waitFor('the resized page', () =>
    user.localServer.reported('size').findLast(({ width }) => width > 1000 && width <= 1100));
  await user.quit();

  await user.startAndShowPage();
  const second = user.localServer.reported('painted').at(-1);
  assert.equal(second.loads, 2, 'local storage is kept');
  assert.deepEqual([second.width, second.height], [resized.width, resized.height]);
  const { headers } = user.localServer.requestsTo('/').at(-1);
  assert.match(headers.cookie, /persistent=yes/);
  assert.match(headers.cookie, new RegExp(`orvelapp=${APP_KEY}`));
  await user.quit();

  assert.ok(existsSync(user.defaultsFile));
  assert.ok(existsSync(join(user.environment.XDG_DATA_HOME, 'nl.orvel.os')));
  assert.deepEqual(readdirSync(user.home), [], 'nothing outside the XDG folders');
});
