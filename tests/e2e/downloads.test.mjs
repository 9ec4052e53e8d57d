// Downloads: their requests, names and files, and downloads that fail.

import assert from 'node:assert/strict';
import {
  mkdirSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

import { Desktop, beacon, beaconLink } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { mounting, noMounts } from '../support/desktop/mount_namespace.mjs';
import { link } from '../support/desktop/page.mjs';
import { quitActions } from '../support/desktop/quit_actions.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const attachment = (name) => `attachment; filename="${name}"`;
const file = (disposition, rest = {}) => ({
  headers: { 'content-type': 'text/csv', 'content-disposition': disposition },
  body: 'one;two\n',
  ...rest,
});
const stored = (name) => `/api/bestand/${name}`;
const storedLink = (name) => link(name, stored(name));

test('an export is requested with its query, the key and the cookies of its host',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const foreign = await user.openOnlineServer({
      routes: { '/': { page: '', headers: { 'set-cookie': 'foreign=yes; Max-Age=86400' } } },
    });
    user.setPlistValues({ ORVELOSURL: foreign.address });
    user.start();
    await foreign.awaitPainted();
    await user.quit();
    user.setPlistValues({ ORVELOSURL: 'http://127.0.0.1:4767/' });
    const url = '/api/export?from=2026-01-01&for=everything%20together';
    const layout = await user.startWithPage(`${link('export', url)}<script>
      document.cookie = 'own=one';
      document.cookie = 'deeper=two; path=/elsewhere';
    </script><img src="/image">`, {
      routes: {
        '/api/export': file(attachment('export.csv')),
        '/image': { headers: { 'set-cookie': 'closed=three; HttpOnly' } },
      },
    });
    await screen.clickElement(layout, 'export');
    assert.equal(await desktop.awaitFile('export.csv'), 'one;two\n');
    const requests = user.root.events('request').filter((request) =>
      request.url.startsWith('/api/export'));
    assert.deepEqual(requests.map((request) => `${request.method} ${request.url}`), [`GET ${url}`]);
    assert.equal(requests[0].headers['x-orvel-app'], KEY);
    // All cookies of the host are sent, regardless of their path.
    assert.deepEqual(requests[0].headers.cookie.split('; ').sort(),
      ['closed=three', 'deeper=two', `orvelapp=${KEY}`, 'own=one', 'persistent=yes']);
    await user.quit();
  });

test('files of one name that end at the same time are all kept and opened',
  async (user, screen) => {
    const gate = join(user.folder, 'gate');
    const desktop = new Desktop(user);
    const paths = [1, 2, 3].map(stored);
    const layout = await user.startWithPage(paths.map((path) => link(path, path)).join(''), {
      routes: Object.fromEntries(paths.map((path) =>
        [path, file(attachment('data.csv'), { gate, body: `begin of ${path} and end` })])),
    });
    for (const path of paths) await screen.clickElement(layout, path);
    await waitFor('three requests', () =>
      paths.every((path) => user.root.requests(path).length === 1));
    assert.deepEqual(desktop.files(), [], 'no incomplete file is visible');
    assert.deepEqual(desktop.opened(), []);
    writeFileSync(gate, '');
    const names = ['data 2.csv', 'data 3.csv', 'data.csv'];
    const texts = [];
    for (const name of names) texts.push(await desktop.awaitFile(name));
    assert.deepEqual(texts.sort(), paths.map((path) => `begin of ${path} and end`));
    assert.deepEqual(desktop.files(), names);
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), names.map((name) => desktop.path(name)));
  });

const suggestedNames = {
  'escaped quotes': ['attachment; filename="one \\"two\\" three.csv"', 'one "two" three.csv'],
  'both forms of the parameter': [
    "attachment; filename=\"resume.csv\"; filename*=UTF-8''r%C3%A9sum%C3%A9%20%E2%82%AC.csv",
    'résumé €.csv',
  ],
  'a folder': [attachment('a/b.csv'), 'a-b.csv'],
  'parent folders': [attachment('../../outside.csv'), '..-..-outside.csv'],
  'a long name': [attachment(`${'l'.repeat(300)}.csv`), `${'l'.repeat(251)}.csv`],
  'no name': ['inline', 'no name.csv', stored('no%20name')],
  'only dots': [attachment('..'), 'dots', stored('dots')],
};

test('a file gets the suggested name and stays in the Downloads folder', async (user, screen) => {
  const desktop = new Desktop(user);
  const cases = Object.values(suggestedNames).map(([disposition, name, path], index) =>
    ({ id: `n${index}`, disposition, name, path: path ?? stored(`n${index}`) }));
  const layout = await user.startWithPage(cases.map(({ id, path }) => link(id, path)).join(''), {
    routes: Object.fromEntries(cases.map(({ path, disposition }) => [path, file(disposition)])),
  });
  for (const { id, path } of cases) {
    await screen.clickElement(layout, id);
    await user.root.awaitResponseClosed(path);
  }
  await waitFor('all files', () => desktop.opened().length === cases.length);
  assert.deepEqual(desktop.files(), cases.map(({ name }) => name).sort());
  await user.quit();
  await user.assertNothingLeft();
  assert.deepEqual(readdirSync(user.home), ['Downloads']);
});

test('existing files are kept, and the XDG download folder is used', async (user, screen) => {
  const desktop = new Desktop(user, { downloads: join(user.home, 'My files') });
  const existing = ['data.csv', 'data 2.csv'];
  for (const name of existing) writeFileSync(desktop.path(name), 'existing');
  const layout = await user.startWithPage(link('export', '/api/export'), {
    routes: { '/api/export': file(attachment('data.csv')) },
  });
  await screen.clickElement(layout, 'export');
  assert.equal(await desktop.awaitFile('data 3.csv'), 'one;two\n');
  for (const name of existing) {
    assert.equal(readFileSync(desktop.path(name), 'utf8'), 'existing');
  }
  await user.quit();
  assert.deepEqual(readdirSync(user.home), ['My files']);
});

/// Returns the private resident memory of a process in MiB (proc(5), RssAnon).
function privateMemory(pid) {
  const status = readFileSync(`/proc/${pid}/status`, 'latin1');
  return Number(/^RssAnon:\s*(\d+) kB$/m.exec(status)[1]) / 1024;
}

test('a file of 1 GiB is not held in memory', { timeout: 120_000 }, async (user, screen, t) => {
  const size = 2 ** 30;
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(storedLink('small') + storedLink('large'), {
    routes: {
      [stored('small')]: file(attachment('small.csv')),
      [stored('large')]: file(attachment('large.bin'), { zeroBytes: size }),
    },
  });
  const { pid } = user.runs[0];
  // The first download allocates what all downloads share.
  await screen.clickElement(layout, 'small');
  await desktop.awaitFile('small.csv');
  const before = privateMemory(pid);
  let max = before;
  let samples = 0;
  const path = desktop.path('large.bin');
  const begin = Date.now();
  await screen.clickElement(layout, 'large');
  const launch = await waitFor('the file', () => {
    max = Math.max(max, privateMemory(pid));
    samples += 1;
    return desktop.launches().find(({ argument }) => argument === path);
  }, { timeout: 90_000, every: 5 });
  const growth = max - before;
  t.diagnostic(`${Date.now() - begin} ms, growth ${growth.toFixed(1)} MiB, ${samples} samples`);
  assert.equal(launch.size, size);
  assert.equal(statSync(path).size, size);
  assert.ok(growth <= 16, `the memory grew by ${growth} MiB`);
  assert.ok(samples >= 20, `only ${samples} samples`);
  rmSync(path);
  await user.quit();
});

/// A file of several kilobytes, so that half of it is sent before it is truncated.
const data = (rest) => file(attachment('data.csv'), { body: 'one;two\n'.repeat(1000), ...rest });

/// Returns the paths of everything below a folder.
const contents = (folder) => readdirSync(folder, { recursive: true }).sort();

test('responses other than 200 and truncated responses leave nothing', async (user, screen) => {
  const desktop = new Desktop(user);
  const routes = {
    missing: data({ status: 404 }),
    refused: data({ status: 401 }),
    broken: data({ status: 500 }),
    partial: data({ status: 206 }),
    empty: { status: 204 },
    redirected: { status: 302, headers: { location: stored('nowhere') } },
    truncated: data({ truncated: true }),
    complete: data(),
  };
  const names = Object.keys(routes);
  const layout = await user.startWithPage(names.map(storedLink).join(''), {
    routes: Object.fromEntries(names.map((name) => [stored(name), routes[name]])),
  });
  const maxWindows = screen.watchWindowCount();
  for (const name of names) {
    await screen.clickElement(layout, name);
    await user.root.awaitResponseClosed(stored(name));
  }
  await desktop.awaitFile('data.csv');
  assert.equal(user.root.reported('painted').length, 1, 'the page stays');
  assert.equal(user.root.requests(stored('nowhere')).length, 1, 'redirects are followed');
  await user.quit();
  assert.deepEqual(await desktop.openedAfterExit(), [desktop.path('data.csv')]);
  assert.deepEqual(contents(user.home), ['Downloads', 'Downloads/data.csv']);
  assert.equal(await maxWindows(), 1, 'no panel was shown');
});

const obstacles = {
  'a missing Downloads folder': { prepare: () => {}, left: [] },
  'a file in place of the Downloads folder': {
    prepare: (path) => writeFileSync(path, 'no folder'), left: ['Downloads'],
  },
};
for (const [situation, { prepare, left }] of Object.entries(obstacles)) {
  test(`${situation} fails a download, and later ones succeed`, async (user, screen) => {
    const desktop = new Desktop(user);
    rmSync(desktop.downloads, { recursive: true });
    prepare(desktop.downloads);
    const layout = await user.startWithPage(storedLink('early') + beaconLink + storedLink('late'), {
      routes: { [stored('early')]: data(), [stored('late')]: data({ body: 'later' }) },
    });
    const maxWindows = screen.watchWindowCount();
    await screen.clickElement(layout, 'early');
    await desktop.openBeacon(screen, layout);
    assert.deepEqual(contents(user.home), left);
    rmSync(desktop.downloads, { force: true });
    mkdirSync(desktop.downloads);
    await screen.clickElement(layout, 'late');
    assert.equal(await desktop.awaitFile('data.csv'), 'later');
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [desktop.path('data.csv'), beacon]);
    assert.deepEqual(contents(user.home), ['Downloads', 'Downloads/data.csv']);
    assert.equal(await maxWindows(), 1, 'no panel was shown');
  });
}

for (const [situation, mountOption] of [['full', 'size=64k'], ['read-only', 'ro']]) {
  test(`a ${situation} file system at the Downloads folder leaves nothing`, { skip: noMounts },
    async (user, screen) => {
      const desktop = new Desktop(user);
      const wrapper = mounting(`mount -t tmpfs -o ${mountOption} none "$1"`, desktop.downloads);
      const layout = await user.startWithPage(storedLink('large') + beaconLink, {
        routes: { [stored('large')]: data({ zeroBytes: 1 << 20 }) },
      }, { wrapper });
      await screen.clickElement(layout, 'large');
      if (mountOption !== 'ro') await user.root.awaitResponseClosed(stored('large'));
      await desktop.openBeacon(screen, layout);
      const [{ pid }] = user.runs;
      assert.deepEqual(readdirSync(`/proc/${pid}/root${desktop.downloads}`), []);
      await user.quit();
      assert.deepEqual(await desktop.openedAfterExit(), [beacon]);
      assert.deepEqual(contents(user.home), ['Downloads']);
    });
}

/// Starts a download that never ends, and waits until its data are being written.
async function startEndlessDownload(user, screen) {
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(storedLink('endless'), {
    routes: { [stored('endless')]: data({ endless: true }) },
  });
  await screen.clickElement(layout, 'endless');
  // 64 chunks are 16 MiB, more than all buffers between the server and the file hold.
  await waitFor('data in the file', () => user.root.events('chunkSent').length > 64);
  assert.deepEqual(desktop.opened(), []);
  return desktop;
}

for (const action of ['the quit key', 'SIGTERM']) {
  test(`${action} during a download quits and leaves nothing`,
    async (user, screen) => {
      const desktop = await startEndlessDownload(user, screen);
      await quitActions[action](user.runs[0], screen);
      await user.awaitCleanExit();
      assert.deepEqual(await desktop.openedAfterExit(), []);
      assert.deepEqual(contents(user.home), ['Downloads']);
    });
}

test('SIGKILL during a download leaves nothing', async (user, screen) => {
  const desktop = await startEndlessDownload(user, screen);
  await user.forceQuit();
  assert.deepEqual(await desktop.openedAfterExit(), []);
  assert.deepEqual(contents(user.home), ['Downloads']);
});

const isLong = process.env.ORVEL_TEST_LONG === '1';
test('a download without a response for 60 seconds leaves nothing',
  { skip: isLong ? false : 'takes a minute; set ORVEL_TEST_LONG=1', timeout: 120_000 },
  async (user, screen) => {
    const desktop = new Desktop(user);
    const layout = await user.startWithPage(storedLink('silent') + beaconLink, {
      routes: { [stored('silent')]: { noReply: true } },
    });
    await screen.clickElement(layout, 'silent');
    const begin = await waitFor('the request', () => user.root.requests(stored('silent'))[0]);
    const end = await user.root.awaitResponseClosed(stored('silent'), { timeout: 80_000 });
    assert.ok(end.time - begin.time > 59_000);
    await desktop.openBeacon(screen, layout);
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [beacon]);
    assert.deepEqual(contents(user.home), ['Downloads']);
  });
