// From nothing to the shown page, as the server and the screen saw it.

import assert from 'node:assert/strict';
import { cpSync, existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { setImmediate as nextTurn } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';

import { pageColour } from '../support/desktop/page.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

test('a first start goes over server, probes and cookie to the page', {}, async (user, screen) => {
  mkdirSync(dirname(user.root.log));
  writeFileSync(user.root.log, 'woord van een vorige keer\n'.repeat(1000));

  // Arguments, of whatever kind, change nothing.
  const run = user.start({
    args: ['--help', '--version', '--gapplication-service', 'bestand.txt'],
    environment: { PORT: '1', EIGEN_WOORD: 'blijft staan' },
  });
  const layout = await user.root.awaitPainted();
  await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  await saveScreenshot('page');
  const window = await screen.awaitWindow();
  await waitFor('the icon of the window', async () =>
    /Icon \(\d+ x \d+\)/.test(await screen.property(window, '_NET_WM_ICON')));

  const { argv, cwd, env } = await user.root.awaitStarted();
  assert.deepEqual(argv.slice(1), [user.root.script]);
  assert.equal(cwd, user.root.path);
  assert.equal(env.PORT, '4767');
  assert.equal(env.PATH, '/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin');
  assert.equal(env.HOME, user.home);
  assert.equal(env.EIGEN_WOORD, 'blijft staan');

  const requests = user.root.events('request');
  const probes = requests.filter(({ url }) => url === '/api/wie');
  const pages = requests.filter(({ url }) => url !== '/api/wie');
  assert.equal(probes.length, 1, 'the first answered probe ends the polling');
  assert.equal(requests[0], probes[0], 'nothing is loaded before the server is ready');
  for (const { headers } of probes) {
    assert.equal(headers['x-orvel-app'], KEY);
    assert.equal(headers.cookie, undefined);
  }
  assert.ok(pages.some(({ url }) => url === '/'));
  for (const { url, headers } of pages) {
    assert.equal(headers['x-orvel-app'], undefined, url);
    assert.match(headers.cookie ?? '', new RegExp(`(^|; )orvelapp=${KEY}(;|$)`), url);
    assert.ok(headers['user-agent'].endsWith(` ORVELOS/${KEY}`), headers['user-agent']);
  }
  assert.ok(layout.agent.endsWith(` ORVELOS/${KEY}`), layout.agent);

  assert.deepEqual(user.filesWrittenOutside(), []);
  const log = readFileSync(user.root.log, 'utf8').split('\n').sort();
  assert.deepEqual(log, ['', 'woord op de foutuitvoer', 'woord op de gewone uitvoer']);

  const { code, signal } = await user.quit(run);
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
});

test('the demo server shows its page', {}, async (user, screen) => {
  const demo = join(user.folder, 'demo');
  const recordPath = join(user.folder, 'demo.jsonl');
  cpSync(fileURLToPath(new URL('../../demo', import.meta.url)), demo, { recursive: true });
  rmSync(join(demo, 'v3/.local'), { recursive: true, force: true });
  user.start({ environment: { ORVEL_OS_ROOT: demo, ORVEL_DEMO_RECORD: recordPath } });

  const record = () =>
    existsSync(recordPath)
      ? readFileSync(recordPath, 'utf8').split('\n').slice(0, -1).map(JSON.parse)
      : [];
  const asked = (path) => record().filter(({ url }) => url?.split('?')[0] === path);
  await waitFor('the page painted', () => asked('/api/getoond').length > 0);
  await waitFor('the page on the screen', () => screen.screenshot().shareBrighterThan(140, 60) > 0.001);
  await saveScreenshot('demo');
  assert.equal(asked('/api/wie')[0].headers['x-orvel-app'], KEY);
  assert.match(asked('/')[0].headers.cookie, new RegExp(`orvelapp=${KEY}`));
  assert.match(readFileSync(join(demo, 'v3/.local/server.log'), 'utf8'), /luistert/);
  await user.quit();
  assert.equal(record().at(-1).event, 'stopped');
});

test('the screen stays dark from the first frame to the page', {}, async (user, screen) => {
  // Labels and buttons of the header bar are light; a flash is a whole area.
  const labels = 0.02;
  user.start();
  let pictures = 0;
  let painted = false;
  await waitFor('the page on the screen', async () => {
    const picture = screen.screenshot();
    pictures += 1;
    const light = picture.shareBrighterThan(140);
    if (light > labels) await saveScreenshot('white-frame');
    assert.ok(light <= labels, `picture ${pictures}: ${(light * 100).toFixed(1)} % is light`);
    // The page itself is told from everything before it, which is darker still.
    painted = picture.shows(pageColour);
    await nextTurn();
    return painted;
  }, { every: 1 });
  assert.ok(pictures > 20, `only ${pictures} pictures were taken`);
  await user.quit();
});

test('an empty key leaves the header empty and sets no cookie',
  { plist: { ORVELOSKey: '' } }, async (user) => {
    await user.startAndShowPage();
    const [layout] = user.root.reported('painted');
    assert.equal(user.root.requests('/api/wie')[0].headers['x-orvel-app'], '');
    assert.doesNotMatch(user.root.requests('/')[0].headers.cookie ?? '', /orvelapp/);
    assert.ok(layout.agent.endsWith(' ORVELOS/'), layout.agent);
    await user.quit();
  });

test('without a display it says so and starts nothing', {}, async (user) => {
  const run = user.start({ environment: { DISPLAY: undefined } });
  const { code, signal } = await user.awaitExit(run);
  assert.equal(signal, null);
  assert.notEqual(code, 0);
  assert.match(run.output, /display/i);
  assert.deepEqual(user.root.record(), []);
});
