// Folders, files and disks that are not as the application needs them.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import {
  existsSync, mkdirSync, readFileSync, renameSync, statSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

import { DataRoot } from '../support/desktop/data_root.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { PORT, isRunning, kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { isLong } from './harness/scenarios.mjs';
import { full, noMounts, readOnly } from './harness/mount_namespace.mjs';
import { assertClean, endedWell, underWatch } from './harness/invariants.mjs';

const { test } = desktopTests();

/// Starts the application, has the page loaded once more and quits.
async function startShowQuit(user, screen, t, options = {}, clean = {}) {
  const run = await user.startAndShowPage(options);
  await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  await underWatch(screen, run, t, {}, async () => {
    const before = user.root.reported('painted').length;
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(before + 1);
  });
  await user.quit(run);
  await endedWell(user, run);
  await assertClean(user, clean);
  return run;
}

const inherited = (run) => assert.match(run.output, /woord op de foutuitvoer/);

test('starting: the log folder is a file', {}, async (user, screen, t) => {
  const folder = join(user.root.path, 'v3/.local');
  writeFileSync(folder, 'geen map');
  inherited(await startShowQuit(user, screen, t));
  assert.equal(readFileSync(folder, 'utf8'), 'geen map');
});

test('starting: the data root can only be read', { skip: noMounts }, async (user, screen, t) => {
  inherited(await startShowQuit(user, screen, t,
    { wrapper: readOnly(user.root.path, user.root.recordPath) }));
  assert.ok(!existsSync(join(user.root.path, 'v3/.local')));
});

test('starting: a path of blanks, quotes and other letters', {}, async (user, screen, t) => {
  user.root = new DataRoot(join(user.folder, `a'b "c" ; $(d) ë € 名 &`));
  // A stale server is recognised by this path.
  const stale = spawn(process.execPath, [user.root.script], {
    env: { PATH: process.env.PATH, PORT: String(PORT) },
    stdio: 'ignore',
  });
  try {
    await waitFor('the stale server', () => user.root.events('listening').length === 1);
    await startShowQuit(user, screen, t, { environment: { ORVEL_OS_ROOT: user.root.path } });
    assert.ok(!isRunning(stale.pid));
  } finally {
    kill(stale.pid);
  }
  assert.match(readFileSync(user.root.log, 'utf8'), /woord op de gewone uitvoer/);
});

test('showing: the data root is taken away and comes back', {}, async (user, screen, t) => {
  const { root } = user;
  const run = await user.startAndShowPage();
  const away = join(user.folder, 'weg');
  await underWatch(screen, run, t, {}, async (watch) => {
    renameSync(root.path, away);
    root.recordPath = join(away, 'v3/record.jsonl');
    await screen.pressKeys('ctrl+r');
    await root.awaitPainted(2);
    kill((await root.awaitStarted()).pid);
    await screen.awaitPageText((text) => text.includes('(code 9)'));
    await screen.pressKeys('ctrl+r');
    await screen.awaitPageText((text) => text.includes('Deze Mac heeft het OS niet.'));
    renameSync(away, root.path);
    root.recordPath = join(root.path, 'v3/record.jsonl');
    await watch.allowing(async () => {
      await screen.pressKeys('ctrl+r');
      await root.awaitStarted(2);
    });
    await root.awaitPainted(3);
  });
  await user.quit(run);
  await assertClean(user);
});

const garbage = Buffer.from(Array.from({ length: 5000 }, (_, at) => (at * 7919) % 251));

test('starting: the defaults file is damaged', {}, async (user, screen, t) => {
  const folder = join(user.environment.XDG_CONFIG_HOME, 'nl.orvel.os');
  mkdirSync(folder);
  writeFileSync(join(folder, 'defaults.ini'), garbage);
  await startShowQuit(user, screen, t, {}, { damaged: ['defaults.ini.damaged'] });
  assert.ok(garbage.equals(readFileSync(join(folder, 'defaults.ini.damaged'))), 'it is kept');
  assert.match(readFileSync(join(folder, 'defaults.ini'), 'utf8'), /^\[Defaults\]/);
});

test('starting: the cookie database and all else that is kept is damaged', {},
  async (user, screen, t) => {
    await user.startAndShowPage();
    await user.quit();
    const files = user.dataFiles();
    assert.ok(files.some((path) => path.endsWith('cookies.sqlite')));
    for (const path of files) writeFileSync(path, garbage);
    await startShowQuit(user, screen, t);
    const { headers } = user.root.requests('/').at(-1);
    assert.match(headers.cookie, new RegExp(`orvelapp=${KEY}`));
  });

test('starting: the information is damaged', {}, async (user, screen, t) => {
  writeFileSync(join(user.bundle, 'Contents/Info.plist'), garbage);
  await startShowQuit(user, screen, t);
  assert.equal(user.root.requests('/api/wie')[0].headers['x-orvel-app'], '');
});

test('showing and quitting: all that is kept is damaged meanwhile', {},
  async (user, screen, t) => {
    const folder = join(user.environment.XDG_CONFIG_HOME, 'nl.orvel.os');
    const run = await user.startAndShowPage();
    const files = user.dataFiles();
    assert.ok(files.some((path) => path.endsWith('cookies.sqlite')));
    mkdirSync(folder, { recursive: true });
    for (const path of [...files, join(folder, 'defaults.ini')]) writeFileSync(path, garbage);
    await underWatch(screen, run, t, {}, async () => {
      await screen.pressKeys('ctrl+r');
      // Without its cookie, perhaps: WebKit's network process may not survive it.
      await user.root.awaitPainted(2);
    });
    await user.quit(run);
    await endedWell(user, run);
    assert.ok(garbage.equals(readFileSync(join(folder, 'defaults.ini.damaged'))), 'it is kept');
    assert.match(readFileSync(join(folder, 'defaults.ini'), 'utf8'), /^\[Defaults\]/);
    await startShowQuit(user, screen, t, {}, { damaged: ['defaults.ini.damaged'] });
    assert.match(user.root.requests('/').at(-1).headers.cookie, new RegExp(`orvelapp=${KEY}`));
  });

const kept = ({ environment }) => ['XDG_CONFIG_HOME', 'XDG_DATA_HOME', 'XDG_CACHE_HOME', 'TMPDIR']
  .map((name) => environment[name]);

test('starting: every disk is full', { skip: noMounts }, async (user, screen, t) => {
  await startShowQuit(user, screen, t, { wrapper: full(...kept(user)) });
});

test('showing: the server floods its log', { timeout: 240_000 }, async (user, screen, t) => {
  const { root } = user;
  const size = isLong ? 1 << 30 : 1 << 26;
  root.setBehaviour({ live: true });
  const run = await user.startAndShowPage();
  await underWatch(screen, run, t, {}, async (watch) => {
    root.setBehaviour({ live: true, routes: { '/': { page: '', logBytes: size } } });
    await screen.pressKeys('ctrl+r');
    await waitFor('the page again', () => root.reported('painted').length === 2, { timeout: 180_000 });
    assert.ok(statSync(root.log).size >= size);
    root.setBehaviour({ live: true });
    kill((await root.awaitStarted()).pid);
    await screen.awaitPageText((text) => text.includes('(code 9)'));
    await watch.allowing(async () => {
      await screen.pressKeys('ctrl+r');
      await root.awaitStarted(2);
    });
    await root.awaitPainted(3);
    assert.ok(statSync(root.log).size < 1000, 'each start empties the log');
  });
  await user.quit(run);
  await assertClean(user);
});

const shifter = ['x86_64', 'aarch64']
  .map((machine) => `/usr/lib/${machine}-linux-gnu/faketime/libfaketime.so.1`).find(existsSync);

test('polling and showing: the clock jumps by a year, both ways',
  { skip: !shifter && 'libfaketime is not installed' }, async (user, screen, t) => {
    const clock = join(user.folder, 'klok');
    const set = (text) => {
      writeFileSync(`${clock}.new`, text);
      renameSync(`${clock}.new`, clock);
    };
    set('+0d');
    user.root.setBehaviour({ live: true, routes: { '/api/wie': { status: 503 } } });
    const probes = () => user.root.requests('/api/wie').length;
    const run = user.start({ environment: {
      LD_PRELOAD: shifter, FAKETIME_TIMESTAMP_FILE: clock, FAKETIME_NO_CACHE: '1',
      FAKETIME_DONT_FAKE_MONOTONIC: '1',
    } });
    await waitFor('probes', () => probes() >= 2);
    await underWatch(screen, run, t, {}, async () => {
      for (const jump of ['+366d', '-366d', '+0d']) {
        set(jump);
        const before = probes();
        const begin = process.hrtime.bigint();
        await waitFor(`probes after ${jump}`, () => probes() >= before + 3);
        const took = Number(process.hrtime.bigint() - begin) / 1e6;
        assert.ok(took > 400, `three probes took ${took} ms`);
      }
      user.root.setBehaviour({ live: true });
      await user.root.awaitPainted(1);
      for (const jump of ['+366d', '-366d', '+0d']) {
        set(jump);
        const before = user.root.reported('painted').length;
        await screen.pressKeys('ctrl+r');
        await user.root.awaitPainted(before + 1);
        const { headers } = user.root.requests('/').at(-1);
        assert.match(headers.cookie, new RegExp(`orvelapp=${KEY}`), jump);
      }
    });
    await user.quit(run);
    await assertClean(user);
  });
