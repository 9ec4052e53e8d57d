// Files that do not arrive: no word about it, and nothing left behind.

import assert from 'node:assert/strict';
import { mkdirSync, readdirSync, rmSync, writeFileSync } from 'node:fs';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { mounting, noMounts } from '../support/desktop/mount_namespace.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const beacon = 'https://baken.test/';
const link = (id, href = `/api/bestand/${id}`) => `<a id="${id}" href="${href}">${id}</a>`;
const csv = (rest) => ({
  headers: { 'content-type': 'text/csv', 'content-disposition': 'attachment; filename="data.csv"' },
  body: 'een;twee\n'.repeat(1000),
  ...rest,
});

/// All names below a folder.
const names = (folder) => readdirSync(folder, { recursive: true }).sort();

test('answers other than 200 and answers that are cut off leave nothing', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const routes = {
      missing: csv({ status: 404 }),
      refused: csv({ status: 401 }),
      broken: csv({ status: 500 }),
      partial: csv({ status: 206 }),
      empty: { status: 204 },
      redirected: { status: 302, headers: { location: '/api/bestand/nergens' } },
      cut: csv({ truncated: true }),
      good: csv(),
    };
    const paths = Object.keys(routes).map((id) => `/api/bestand/${id}`);
    const layout = await user.startWithPage(Object.keys(routes).map((id) => link(id)).join(''), {
      routes: Object.fromEntries(Object.values(routes).map((route, at) => [paths[at], route])),
    });
    const maxWindows = screen.watchWindowCount();
    for (const [at, id] of Object.keys(routes).entries()) {
      await screen.clickElement(layout, id);
      await waitFor(`the end of ${id}`, () =>
        user.root.events('responseClosed').some(({ url }) => url === paths[at]));
    }
    await desktop.awaitFile('data.csv');
    assert.equal(user.root.reported('painted').length, 1, 'the page stays');
    assert.equal(user.root.requests('/api/bestand/nergens').length, 1, 'redirects are followed');
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [`${desktop.downloads}/data.csv`]);
    assert.deepEqual(names(user.home), ['Downloads', 'Downloads/data.csv']);
    assert.equal(await maxWindows(), 1, 'no panel was shown');
  });

const places = {
  'there is no Downloads folder': () => {},
  'a file stands where the Downloads folder should be': (path) => writeFileSync(path, 'geen map'),
};
for (const [name, spoil] of Object.entries(places)) {
  test(`nothing is left when ${name}, and later downloads work`, {}, async (user, screen) => {
    const desktop = new Desktop(user);
    rmSync(desktop.downloads, { recursive: true });
    spoil(desktop.downloads);
    const layout = await user.startWithPage(link('early') + link('beacon', beacon) + link('late'), {
      routes: { '/api/bestand/early': csv(), '/api/bestand/late': csv({ body: 'later' }) },
    });
    const maxWindows = screen.watchWindowCount();
    await screen.clickElement(layout, 'early');
    await screen.clickElement(layout, 'beacon');
    await desktop.awaitOpened(beacon);
    assert.deepEqual(names(user.home), name.startsWith('a file') ? ['Downloads'] : []);
    rmSync(desktop.downloads, { force: true });
    mkdirSync(desktop.downloads);
    await screen.clickElement(layout, 'late');
    assert.equal(await desktop.awaitFile('data.csv'), 'later');
    await user.quit();
    const late = `${desktop.downloads}/data.csv`;
    assert.deepEqual(await desktop.openedAfterExit(), [beacon, late].sort());
    assert.deepEqual(names(user.home), ['Downloads', 'Downloads/data.csv']);
    assert.equal(await maxWindows(), 1, 'no panel was shown');
  });
}

const disks = {
  'the disk is full': 'size=64k',
  'the Downloads folder cannot be written': 'ro',
};
for (const [name, options] of Object.entries(disks)) {
  test(`nothing is left when ${name}`, { skip: noMounts }, async (user, screen) => {
    const desktop = new Desktop(user);
    const wrapper = mounting('mount -t tmpfs -o "$1" none "$2"', options, desktop.downloads);
    user.root.setBehaviour({
      routes: {
        '/': { page: link('large') + link('beacon', beacon) },
        '/api/bestand/large': csv({ zeroBytes: 1 << 20 }),
      },
    });
    await user.startAndShowPage({ wrapper });
    const layout = user.root.reported('painted')[0];
    const run = user.runs[0];
    await screen.clickElement(layout, 'large');
    if (options !== 'ro') {
      await waitFor('the end of the answer', () =>
        user.root.events('responseClosed').some(({ url }) => url === '/api/bestand/large'));
    }
    await screen.clickElement(layout, 'beacon');
    await desktop.awaitOpened(beacon);
    assert.deepEqual(readdirSync(`/proc/${run.pid}/root${desktop.downloads}`), []);
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [beacon]);
    assert.deepEqual(names(user.home), ['Downloads']);
  });
}

/// Starts a download that never ends and waits until it flows.
async function startEndless(user, screen) {
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(link('endless'), {
    routes: { '/api/bestand/endless': csv({ endless: true }) },
  });
  await screen.clickElement(layout, 'endless');
  // 16 MiB are more than all buffers on the way can hold.
  await waitFor('a file being written', () => user.root.events('chunkSent').length > 64);
  assert.deepEqual(desktop.opened(), []);
  return desktop;
}

const ends = {
  "the menu's key": (run, screen) => screen.pressKeys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
};
for (const [name, quit] of Object.entries(ends)) {
  test(`quitting by ${name} in the middle of a download leaves nothing and does not wait`, {},
    async (user, screen) => {
      const desktop = await startEndless(user, screen);
      const [run] = user.runs;
      const asked = Date.now();
      await quit(run, screen);
      const { code, signal, time } = await user.awaitExit(run);
      assert.deepEqual({ code, signal }, { code: 0, signal: null });
      assert.ok(time - asked < 5000, `the end came after ${time - asked} ms`);
      assert.deepEqual(await desktop.openedAfterExit(), []);
      assert.deepEqual(names(user.home), ['Downloads']);
    });
}

test('an application that is killed in the middle of a download leaves no part of it', {},
  async (user, screen) => {
    const desktop = await startEndless(user, screen);
    await user.forceQuit();
    await user.assertNothingLeft();
    assert.deepEqual(desktop.opened(), []);
    assert.deepEqual(names(user.home), ['Downloads']);
    assert.deepEqual(names(user.environment.TMPDIR), []);
  });

const long = process.env.ORVEL_TEST_LONG ? false : 'takes a minute; set ORVEL_TEST_LONG to run it';
test('a server that is silent for 60 seconds leaves nothing', { skip: long, timeout: 120_000 },
  async (user, screen) => {
    const desktop = new Desktop(user);
    const layout = await user.startWithPage(link('silent') + link('beacon', beacon), {
      routes: { '/api/bestand/silent': { noReply: true } },
    });
    await screen.clickElement(layout, 'silent');
    const begin = await waitFor('the request', () => user.root.requests('/api/bestand/silent')[0]);
    const end = await waitFor('the end of the connection', () =>
      user.root.events('responseClosed').find(({ url }) => url === '/api/bestand/silent'),
    { timeout: 80_000 });
    const took = end.time - begin.time;
    assert.ok(took > 59_000 && took < 65_000, `the connection ended after ${took} ms`);
    await screen.clickElement(layout, 'beacon');
    await desktop.awaitOpened(beacon);
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [beacon]);
    assert.deepEqual(names(user.home), ['Downloads']);
  });
