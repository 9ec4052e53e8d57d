// Unusable folders, damaged files, full disks and a clock that jumps.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, renameSync, statSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { desktopTests, isLongForm } from '../support/desktop/desktop_test.mjs';
import { awaitErrorPage, missingServerMessage } from '../support/desktop/error_page.mjs';
import { filesBelow } from '../support/desktop/leftovers.mjs';
import { LocalServer } from '../support/desktop/local_server.mjs';
import {
  fullDiskWrapper, mountWrapper, readOnlyWrapper, skipWithoutMounts,
} from '../support/desktop/mount_namespace.mjs';
import { withPortHolder } from '../support/desktop/port_holder.mjs';
import { isRunning } from '../support/desktop/processes.mjs';
import { fingerprint, makeRelease } from '../support/desktop/release.mjs';
import {
  archivePath, beginUpdateCheck, checkAndCloseNotice, offerNoLaterRelease, offerRelease,
  upToDateNotice, updatedNotice, useUpdateServer,
} from '../support/desktop/updates.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { floodTimeout, waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

/// Starts the application and reloads the page.
async function startAndReload(user, options) {
  await user.startAndShowPage(options);
  await user.reload();
}

const assertPageRequestHasKey = ({ localServer }) =>
  assert.match(localServer.requestsTo('/').at(-1).headers.cookie,
    new RegExp(`orvelapp=${APP_KEY}`));

/// Situations in which the server has no log. `prepare` returns the options of user.start().
const withoutLog = {
  'a file in place of the log folder': {
    prepare: ({ localServer }) => {
      writeFileSync(join(localServer.dataRoot, 'v3/.local'), 'no folder');
      return {};
    },
  },
  'a read-only data root': {
    skip: skipWithoutMounts,
    // Only the record of the fixture server stays writable.
    prepare: ({ localServer: { dataRoot, recordPath } }) =>
      ({ wrapper: readOnlyWrapper(dataRoot, recordPath) }),
  },
};
for (const [situation, { skip = false, prepare }] of Object.entries(withoutLog)) {
  test(`with ${situation} the application prints the server's output`, { skip }, async (user) => {
    await startAndReload(user, prepare(user));
    // The fixture server prints a line on standard output and on standard error when it starts.
    assert.match(user.run.output, /line on standard error/);
    assert.ok(!existsSync(user.localServer.log));
  });
}

test('without a locale a data root with blanks, quotes and non-ASCII characters in its path works',
  async (user) => {
    user.localServer = new LocalServer(join(user.folder, `a'b "c" ; $(d) ë € 名 &`));
    // The application recognises a stale server by this path, and terminates it.
    await withPortHolder([user.localServer.script], async (stale) => {
      await startAndReload(user, { environment: {
        ORVEL_OS_ROOT: user.localServer.dataRoot, LC_ALL: '', LC_CTYPE: undefined, LANG: undefined,
      } });
      assert.ok(!isRunning(stale.pid));
    });
    assert.match(readFileSync(user.localServer.log, 'utf8'), /line on standard output/);
  });

test('a removed data root is reported, and can come back', async (user, screen) => {
  const { localServer } = user;
  const elsewhere = join(user.folder, 'elsewhere');
  const move = (from, to) => {
    renameSync(from, to);
    localServer.recordPath = join(to, 'v3/record.jsonl');
  };
  await user.startAndShowPage();
  move(localServer.dataRoot, elsewhere);
  await user.reload();
  await user.crashServer();
  await screen.pressKeys('ctrl+r');
  await awaitErrorPage(screen, missingServerMessage);
  move(elsewhere, localServer.dataRoot);
  await user.restartServer();
  await localServer.awaitPainted(3);
});

/// Bytes that are no valid file of any kind.
const garbage = Buffer.from(Array.from({ length: 5000 }, (_, index) => (index * 7919) % 251));

// The option `configurationFiles` names the files that may be left in the configuration folder.
for (const whileRunning of [false, true]) {
  test('defaults, cookies and page storage that are damaged ' +
    `${whileRunning ? 'during a run' : 'before a start'} are replaced`,
  { configurationFiles: ['defaults.ini', 'defaults.ini.damaged'] }, async (user) => {
    const { defaultsFile } = user;
    await user.startAndShowPage();
    // A write of the window frame that is in progress would replace the damaged file.
    if (whileRunning) await waitFor('the stored window frame', () => existsSync(defaultsFile));
    else await user.quit();
    const files = filesBelow(user.environment.XDG_DATA_HOME);
    assert.ok(files.some((path) => path.endsWith('cookies.sqlite')));
    mkdirSync(dirname(defaultsFile), { recursive: true });
    for (const path of [...files, defaultsFile]) writeFileSync(path, garbage);
    if (whileRunning) {
      // This request may lack its cookie, because WebKit's network process may crash.
      await user.reload();
      await user.quit();
    }
    await startAndReload(user);
    await user.quit();
    assert.deepEqual(readFileSync(`${defaultsFile}.damaged`), garbage);
    assert.match(readFileSync(defaultsFile, 'utf8'), /^\[Defaults\]/);
    assertPageRequestHasKey(user);
  });
}

test('with a damaged Info.plist the page is shown and the key is empty', async (user) => {
  writeFileSync(join(user.bundle, 'Contents/Info.plist'), garbage);
  await startAndReload(user);
  assert.equal(user.localServer.requestsTo('/api/wie')[0].headers['x-orvel-app'], '');
});

test('with full disks the page is shown', { skip: skipWithoutMounts }, async (user) => {
  const folders = ['XDG_CONFIG_HOME', 'XDG_DATA_HOME', 'XDG_CACHE_HOME', 'TMPDIR']
    .map((name) => user.environment[name]);
  await startAndReload(user, { wrapper: fullDiskWrapper(...folders) });
});

/// The size in bytes of the file system on which releases are unpacked.
const diskSize = 128 << 20;

test('a release too large for the disk changes nothing, and a smaller one is installed',
  { skip: skipWithoutMounts }, async (user, screen) => {
    const temporary = join(user.environment.XDG_CACHE_HOME, 'nl.orvel.os/temporary');
    mkdirSync(temporary, { recursive: true });
    const wrapper = mountWrapper(`mount -t tmpfs -o size=${diskSize} none "$1"`, temporary);
    const server = await useUpdateServer(user);
    const oldBundle = fingerprint(user.bundle);
    // The archive is small, because the file consists of zeros.
    offerRelease(server, '1.1', makeRelease(user, {
      alter: (bundle) =>
        writeFileSync(join(bundle, 'Contents/Resources/large'), Buffer.alloc(2 * diskSize)),
    }));
    await user.startAndShowPage({ server, wrapper });
    // The silent check for updates after the start finds the release.
    await server.awaitRequest(archivePath);
    // The result of a second check appears only after the installation has ended.
    offerNoLaterRelease(server);
    await checkAndCloseNotice(screen, upToDateNotice());
    assert.equal(fingerprint(user.bundle), oldBundle);
    // The partial file stays until the next installation. The mount is visible only through the
    // root folder of the application's process.
    const partial = filesBelow(`/proc/${user.run.pid}/root${temporary}`)
      .find((path) => path.endsWith('large'));
    // The unit of st_blocks (stat(2)) is 512 bytes.
    const stored = statSync(partial).blocks * 512;
    assert.ok(stored > 0 && stored < diskSize, `the partial file takes ${stored} bytes`);
    offerRelease(server, '1.1', makeRelease(user));
    await beginUpdateCheck(screen);
    await screen.awaitPanel(updatedNotice);
    assert.equal(user.installedVersion(), '1.1');
    await user.terminate();
  });

test('a flooded server log is emptied by the next start', async (user, screen) => {
  const { localServer } = user;
  const mebibytes = isLongForm ? 1024 : 64;
  const size = mebibytes << 20;
  await user.startAndShowPage();
  localServer.setRoutes({ '/': { page: '', logBytes: size } });
  await screen.pressKeys('ctrl+r');
  await waitFor('the page again', () => localServer.paintCount() === 2, { timeout: floodTimeout });
  assert.ok(statSync(localServer.log).size >= size);
  localServer.setRoutes();
  await user.crashServer();
  await user.restartServer();
  await localServer.awaitPainted(3);
  assert.ok(statSync(localServer.log).size < 1000, 'the next start has emptied the log');
});

const libfaketime = ['x86_64', 'aarch64']
  .map((machine) => `/usr/lib/${machine}-linux-gnu/faketime/libfaketime.so.1`).find(existsSync);

test('clock jumps by a year leave the probe interval, the page and the cookie unchanged',
  { skip: !libfaketime && 'libfaketime is not installed' }, async (user) => {
    const { localServer } = user;
    const clock = join(user.folder, 'clock');
    const setClock = (offset) => {
      writeFileSync(`${clock}.new`, offset);
      renameSync(`${clock}.new`, clock);
    };
    const jumps = ['+366d', '-366d', '+0d'];
    setClock('+0d');
    localServer.setRoutes({ '/api/wie': { status: 503 } });
    // With FAKETIME_NO_CACHE, libfaketime reads the file for each call.
    user.start({ environment: {
      LD_PRELOAD: libfaketime, FAKETIME_TIMESTAMP_FILE: clock, FAKETIME_NO_CACHE: '1',
      FAKETIME_DONT_FAKE_MONOTONIC: '1',
    } });
    await localServer.awaitRequest('/api/wie', 2);
    for (const jump of jumps) {
      setClock(jump);
      const before = localServer.requestsTo('/api/wie').length;
      const begin = performance.now();
      await localServer.awaitRequest('/api/wie', before + 3);
      const elapsed = performance.now() - begin;
      // Three probes span two intervals of 250 ms. The first may have been sent shortly before
      // `begin`.
      assert.ok(elapsed > 400, `three probes took only ${elapsed} ms`);
    }
    localServer.setRoutes();
    await localServer.awaitPainted(1);
    for (const jump of jumps) {
      setClock(jump);
      await user.reload();
      assertPageRequestHasKey(user);
    }
  });
