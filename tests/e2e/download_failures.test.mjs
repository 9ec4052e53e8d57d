// Files that do not arrive: no word about it, and nothing left behind.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdirSync, readdirSync, rmSync, writeFileSync } from 'node:fs';

import { Desktop } from '../support/desktop/desktop.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial } = trialsOn();

const beacon = 'https://baken.test/';
const link = (id, href = `/api/bestand/${id}`) => `<a id="${id}" href="${href}">${id}</a>`;
const csv = (rest) => ({
  headers: { 'content-type': 'text/csv', 'content-disposition': 'attachment; filename="data.csv"' },
  body: 'een;twee\n'.repeat(1000),
  ...rest,
});

/// All names below a folder.
const names = (folder) => readdirSync(folder, { recursive: true }).sort();

trial('answers other than 200 and answers that are cut off leave nothing', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const routes = {
      missing: csv({ status: 404 }),
      refused: csv({ status: 401 }),
      broken: csv({ status: 500 }),
      partial: csv({ status: 206 }),
      empty: { status: 204 },
      redirected: { status: 302, headers: { location: '/api/bestand/nergens' } },
      cut: csv({ cut: true }),
      good: csv(),
    };
    const paths = Object.keys(routes).map((id) => `/api/bestand/${id}`);
    const told = await user.startWithPage(Object.keys(routes).map((id) => link(id)).join(''), {
      routes: Object.fromEntries(Object.values(routes).map((route, at) => [paths[at], route])),
    });
    const most = screen.watchWindows();
    for (const [at, id] of Object.keys(routes).entries()) {
      await screen.clickElement(told, id);
      await waitFor(`the end of ${id}`, () =>
        user.root.events('answered').some(({ url }) => url === paths[at]));
    }
    await desktop.awaitFile('data.csv');
    assert.equal(user.root.told('getoond').length, 1, 'the page stays');
    assert.equal(user.root.requests('/api/bestand/nergens').length, 1, 'redirects are followed');
    await user.quit();
    assert.deepEqual(await desktop.openedInTheEnd(), [`${desktop.downloads}/data.csv`]);
    assert.deepEqual(names(user.home), ['Downloads', 'Downloads/data.csv']);
    assert.equal(await most(), 1, 'no panel was shown');
  });

const places = {
  'there is no Downloads folder': () => {},
  'a file stands where the Downloads folder should be': (path) => writeFileSync(path, 'geen map'),
};
for (const [name, spoil] of Object.entries(places)) {
  trial(`nothing is left when ${name}, and later downloads work`, {}, async (user, screen) => {
    const desktop = new Desktop(user);
    rmSync(desktop.downloads, { recursive: true });
    spoil(desktop.downloads);
    const told = await user.startWithPage(link('early') + link('beacon', beacon) + link('late'), {
      routes: { '/api/bestand/early': csv(), '/api/bestand/late': csv({ body: 'later' }) },
    });
    const most = screen.watchWindows();
    await screen.clickElement(told, 'early');
    await screen.clickElement(told, 'beacon');
    await desktop.awaitOpened(beacon);
    assert.deepEqual(names(user.home), name.startsWith('a file') ? ['Downloads'] : []);
    rmSync(desktop.downloads, { force: true });
    mkdirSync(desktop.downloads);
    await screen.clickElement(told, 'late');
    assert.equal(await desktop.awaitFile('data.csv'), 'later');
    await user.quit();
    const late = `${desktop.downloads}/data.csv`;
    assert.deepEqual(await desktop.openedInTheEnd(), [beacon, late].sort());
    assert.deepEqual(names(user.home), ['Downloads', 'Downloads/data.csv']);
    assert.equal(await most(), 1, 'no panel was shown');
  });
}

// A file system of the application's own, in a name space that ends with it.
const unshare = process.getuid() === 0 ? ['unshare', '-m'] : ['unshare', '-r', '-m'];
const [program, ...rest] = [...unshare, 'mount', '-t', 'tmpfs', 'none', '/mnt'];
const possible = spawnSync(program, rest);
const skip = possible.status === 0 ? false : 'this machine lets nobody mount a file system';

const disks = {
  'the disk is full': 'size=64k',
  'the Downloads folder cannot be written': 'ro',
};
for (const [name, options] of Object.entries(disks)) {
  trial(`nothing is left when ${name}`, { skip }, async (user, screen) => {
    const desktop = new Desktop(user);
    const mount = 'mount -t tmpfs -o "$1" none "$2" && shift 2 && exec "$@"';
    const wrapper = [...unshare, 'sh', '-c', mount, 'sh', options, desktop.downloads];
    user.root.behave({
      routes: {
        '/': { page: link('large') + link('beacon', beacon) },
        '/api/bestand/large': csv({ bytes: 1 << 20 }),
      },
    });
    await user.startAndPaint({ wrapper });
    const told = user.root.told('getoond')[0];
    const run = user.starts[0];
    await screen.clickElement(told, 'large');
    if (options !== 'ro') {
      await waitFor('the end of the answer', () =>
        user.root.events('answered').some(({ url }) => url === '/api/bestand/large'));
    }
    await screen.clickElement(told, 'beacon');
    await desktop.awaitOpened(beacon);
    assert.deepEqual(readdirSync(`/proc/${run.pid}/root${desktop.downloads}`), []);
    await user.quit();
    assert.deepEqual(await desktop.openedInTheEnd(), [beacon]);
    assert.deepEqual(names(user.home), ['Downloads']);
  });
}

/// Starts a download that never ends and waits until it flows.
async function startEndless(user, screen) {
  const desktop = new Desktop(user);
  const told = await user.startWithPage(link('endless'), {
    routes: { '/api/bestand/endless': csv({ drips: true }) },
  });
  await screen.clickElement(told, 'endless');
  // 16 MiB are more than all buffers on the way can hold.
  await waitFor('a file being written', () => user.root.events('dripped').length > 64);
  assert.deepEqual(desktop.opened(), []);
  return desktop;
}

const ends = {
  "the menu's key": (run, screen) => screen.keys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
};
for (const [name, quit] of Object.entries(ends)) {
  trial(`quitting by ${name} in the middle of a download leaves nothing and does not wait`, {},
    async (user, screen) => {
      const desktop = await startEndless(user, screen);
      const [run] = user.starts;
      const asked = Date.now();
      await quit(run, screen);
      const { code, signal, time } = await user.ended(run);
      assert.deepEqual({ code, signal }, { code: 0, signal: null });
      assert.ok(time - asked < 5000, `the end came after ${time - asked} ms`);
      assert.deepEqual(await desktop.openedInTheEnd(), []);
      assert.deepEqual(names(user.home), ['Downloads']);
    });
}

trial('an application that is killed in the middle of a download leaves no part of it', {},
  async (user, screen) => {
    const desktop = await startEndless(user, screen);
    await user.forceQuit();
    await user.assertNothingLeft();
    assert.deepEqual(desktop.opened(), []);
    assert.deepEqual(names(user.home), ['Downloads']);
    assert.deepEqual(names(user.environment.TMPDIR), []);
  });

const long = process.env.ORVEL_TEST_LONG ? false : 'takes a minute; set ORVEL_TEST_LONG to run it';
trial('a server that is silent for 60 seconds leaves nothing', { skip: long, timeout: 120_000 },
  async (user, screen) => {
    const desktop = new Desktop(user);
    const told = await user.startWithPage(link('silent') + link('beacon', beacon), {
      routes: { '/api/bestand/silent': { silent: true } },
    });
    await screen.clickElement(told, 'silent');
    const begin = await waitFor('the request', () => user.root.requests('/api/bestand/silent')[0]);
    const end = await waitFor('the end of the connection', () =>
      user.root.events('answered').find(({ url }) => url === '/api/bestand/silent'),
    { timeout: 80_000 });
    const took = end.time - begin.time;
    assert.ok(took > 59_000 && took < 65_000, `the connection ended after ${took} ms`);
    await screen.clickElement(told, 'beacon');
    await desktop.awaitOpened(beacon);
    await user.quit();
    assert.deepEqual(await desktop.openedInTheEnd(), [beacon]);
    assert.deepEqual(names(user.home), ['Downloads']);
  });
