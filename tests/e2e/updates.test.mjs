// The check for updates and the installation of valid and invalid releases. Each test starts
// version 1.0 with an online server, which offers the releases (useUpdateServer).

import assert from 'node:assert/strict';
import { rmSync, statSync, truncateSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { fingerprint, makeRelease } from '../support/desktop/release.mjs';
import {
  acceptRestart, archivePath, checkAndCloseNotice, checkUntilReleaseHandled, installAndRestart,
  manifestPath, offerRelease, quitRestartedApplication, startWithUpdateServer, upToDateNotice,
  updatedNotice, useUpdateServer,
} from '../support/desktop/updates.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

test('the silent check after the start installs a later release',
  async (user, screen) => {
    const server = await useUpdateServer(user);
    offerRelease(server, '1.1', makeRelease(user));
    await user.startAndShowPage({ server });
    await screen.awaitPanel(updatedNotice);
    const manifests = server.requestsTo(manifestPath);
    const archives = server.requestsTo(archivePath);
    assert.deepEqual([manifests.length, archives.length], [1, 1]);
    for (const { headers } of [...manifests, ...archives]) {
      assert.equal(headers['x-orvel-app'], APP_KEY);
    }
    assert.equal(manifests[0].headers['cache-control'], 'no-cache');
    assert.deepEqual(user.localServer.record(), [], 'no local server is started');
    assert.equal(user.installedVersion(), '1.1');
    await acceptRestart(user, server);
    await quitRestartedApplication(user);
    assert.equal(user.installedVersion(), '1.1');
  });

test('the new process starts after the old one has killed a server that ignores SIGTERM',
  { behaviour: { ignoresSignals: true } }, async (user, screen) => {
    const server = await useUpdateServer(user);
    offerRelease(server, '1.1', { body: makeRelease(user), gate: user.gate });
    const run = await user.startAndShowPage({ server });
    await server.awaitRequest(archivePath);
    // The user changes to the local server during the download.
    await screen.answerAddressDialog('http://127.0.0.1:4767/');
    await user.localServer.awaitPainted();
    writeFileSync(user.gate, '');
    await screen.awaitPanel(updatedNotice);

    const pressed = Date.now();
    await screen.pressKeys('Return');
    const end = await user.awaitCleanExit(run);
    // The application kills the server after 3 seconds.
    assert.ok(end - pressed >= 2900, `the old process ended after ${end - pressed} ms`);
    await user.localServer.awaitPainted(2);
    const [, { time }] = user.localServer.events('started');
    assert.ok(time > end, 'the new process starts the second server');
    await screen.awaitWindow();
    await quitRestartedApplication(user);
  });

/// Releases that the application rejects at different steps of the installation: an archive, or the
/// response to the request for it.
const invalidReleases = {
  'a truncated response': (user) => ({ body: makeRelease(user), truncated: true }),
  'a truncated archive': (user) => makeRelease(user).subarray(0, 20_000),
  'another bundle identifier': (user) => makeRelease(user, {
    plist: { CFBundleIdentifier: 'nl.elsewhere.os' },
  }),
};

test('an invalid release changes nothing, and a valid one is installed afterwards',
  async (user, screen, t) => {
    const server = await startWithUpdateServer(user);
    const before = fingerprint(join(user.bundle, '..'));
    for (const [situation, release] of Object.entries(invalidReleases)) {
      offerRelease(server, '1.1', release(user));
      await checkUntilReleaseHandled(screen, server);
      assert.equal(fingerprint(join(user.bundle, '..')), before, situation);
      t.diagnostic(`nothing changed: ${situation}`);
    }
    assert.equal(user.run.exit, null);
    offerRelease(server, '1.1', makeRelease(user));
    const downloads = server.requestsTo(archivePath).length;
    await installAndRestart(user, server);
    await checkAndCloseNotice(screen, upToDateNotice('1.1'));
    assert.equal(server.requestsTo(archivePath).length, downloads + 1);
    await quitRestartedApplication(user);
  });

test('SIGKILL and SIGTERM while the archive is being unpacked leave a bundle that can update',
  async (user, screen) => {
    const server = await useUpdateServer(user);
    const before = fingerprint(user.bundle);
    // A file of 512 MiB, because its unpacking must still run when the signal arrives.
    offerRelease(server, '1.1', makeRelease(user, {
      alter: (bundle) => {
        writeFileSync(join(bundle, 'Contents/large'), '');
        truncateSync(join(bundle, 'Contents/large'), 1 << 29);
      },
    }));
    const unpacked = join(user.environment.XDG_CACHE_HOME,
      'nl.orvel.os/temporary/orvel-os-update-1.1/part/Orvel OS.app/Contents/large');
    for (const signal of ['SIGKILL', 'SIGTERM']) {
      rmSync(unpacked, { force: true });
      // The silent check finds the release.
      await user.startAndShowPage({ server });
      await waitFor('the beginning of the large file', () =>
        statSync(unpacked, { throwIfNoEntry: false })?.size > 0);
      await user.forceQuit(user.run, signal);
      assert.equal(fingerprint(user.bundle), before);
    }
    offerRelease(server, '1.1', makeRelease(user));
    await user.startAndShowPage({ server });
    await screen.awaitPanel(updatedNotice);
    await acceptRestart(user, server);
    await quitRestartedApplication(user);
  });
