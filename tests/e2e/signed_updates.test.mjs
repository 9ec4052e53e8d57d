// A build with a public key installs only releases that are signed with the private key.

import assert from 'node:assert/strict';
import { rmSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import {
  fingerprint, makeRelease, makeUpdateKey, plistValue, releaseRoutes, signatureMembers,
} from '../support/desktop/release.mjs';
import {
  awaitSilentCheck, beginUpdateCheck, checkAndCloseNotice, checkUntilReleaseHandled,
  installAndRestart, manifestPath, offerRelease, openUpdateServer, quitRestartedApplication,
  upToDateNotice,
} from '../support/desktop/updates.mjs';

const { test } = desktopTests({ accessibility: true });

const installedKey = makeUpdateKey();
const newKey = makeUpdateKey();
const checkFailedNotice = 'Kon niet controleren op updates.';
/// The members of a manifest that offers no later release. A build with a key rejects a manifest
/// without a signature, but verifies the signature only before it installs a release.
const anySignature = { handtekening: 'never verified' };

/// Starts version 1.0 with a public key, and waits until its silent check has found no release.
async function startWithKey(user) {
  const server = await openUpdateServer(user);
  user.setPlistValues({ ORVELOSUpdateKey: installedKey.publicKey });
  offerRelease(server, '1.0', undefined, anySignature);
  await user.startAndShowPage({ server });
  await awaitSilentCheck(server);
  return server;
}

/// Releases that are not installed. Each function gets the archive of version 1.1, and returns
/// routes that offer the release and the notice that the user sees, if any.
const refusedReleases = {
  'a manifest without a signature': (archive) => [releaseRoutes('1.1', archive), checkFailedNotice],
  'a signature that is a number': (archive) =>
    [releaseRoutes('1.1', archive, { handtekening: 1 }), checkFailedNotice],
  'a signature by another key': (archive) =>
    [releaseRoutes('1.1', archive, signatureMembers(archive, newKey, '1.1'))],
  'a signature for another version': (archive) =>
    [releaseRoutes('1.1', archive, signatureMembers(archive, installedKey, '1.2'))],
  'a signature for the other edition': (archive) => {
    const members = signatureMembers(archive, installedKey, '1.1', { edition: 'mac' });
    return [releaseRoutes('1.1', archive, members)];
  },
  'an archive swapped after signing': (archive, user) =>
    [releaseRoutes('1.1', makeRelease(user, { version: '1.1.1' }),
      signatureMembers(archive, installedKey, '1.1'))],
  'an archive with one byte changed after signing': (archive) => {
    const changed = Buffer.from(archive);
    changed[changed.length >> 1] ^= 1;
    return [releaseRoutes('1.1', changed, signatureMembers(archive, installedKey, '1.1'))];
  },
  'the manifest of an earlier release': (_, user) => {
    const earlier = makeRelease(user, { version: '0.9' });
    const members = signatureMembers(earlier, installedKey, '0.9');
    return [releaseRoutes('0.9', earlier, members), upToDateNotice()];
  },
  'an earlier release with its signature under a later version': (_, user) => {
    const earlier = makeRelease(user, { version: '0.9' });
    return [releaseRoutes('1.1', earlier, signatureMembers(earlier, installedKey, '0.9'))];
  },
  'an earlier version in an archive that is signed as a later one': (_, user) => {
    const earlier = makeRelease(user, { version: '0.9' });
    return [releaseRoutes('1.1', earlier, signatureMembers(earlier, installedKey, '1.1'))];
  },
  'a key in the archive that the signature does not cover': (_, user) => {
    const archive = makeRelease(user, { publicKey: newKey.publicKey });
    return [releaseRoutes('1.1', archive, signatureMembers(archive, installedKey, '1.1'))];
  },
  'a key in the manifest that the signature does not cover': (_, user) => {
    const archive = makeRelease(user, { publicKey: newKey.publicKey });
    return [releaseRoutes('1.1', archive,
      { ...signatureMembers(archive, installedKey, '1.1'), sleutel: newKey.publicKey })];
  },
};

test('releases without a valid signature change nothing, and a signed one is installed',
  async (user, screen, t) => {
    const server = await startWithKey(user);
    const folder = dirname(user.bundle);
    const before = fingerprint(folder);
    const archive = makeRelease(user);
    const updateFolder = join(user.environment.XDG_CACHE_HOME,
      'nl.orvel.os/temporary/orvel-os-update-1.1');
    for (const [situation, release] of Object.entries(refusedReleases)) {
      rmSync(updateFolder, { recursive: true, force: true });
      const [routes, notice] = release(archive, user);
      Object.assign(server.routes, routes);
      if (notice) {
        await checkAndCloseNotice(screen, notice);
      } else {
        await checkUntilReleaseHandled(screen, server, anySignature);
      }
      assert.equal(fingerprint(folder), before, situation);
      t.diagnostic(`nothing changed: ${situation}`);
    }
    offerRelease(server, '1.1', archive, signatureMembers(archive, installedKey, '1.1'));
    await installAndRestart(user, server);
    await quitRestartedApplication(user);
    assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
  });

test('a signed release can change the key, after which a signature by the old key is rejected',
  async (user, screen) => {
    const server = await startWithKey(user);
    const checks = server.requestsTo(manifestPath).length;
    const archive = makeRelease(user, { publicKey: newKey.publicKey });
    const nextArchive = makeRelease(user, { version: '1.2', publicKey: newKey.publicKey });
    offerRelease(server, '1.1', archive,
      signatureMembers(archive, installedKey, '1.1', { sleutel: newKey.publicKey }));
    await installAndRestart(user, server);
    assert.equal(plistValue(user.bundle, 'ORVELOSUpdateKey'), newKey.publicKey);
    // The check from the menu and the silent one of the new process, which must not find the
    // next release.
    await awaitSilentCheck(server, checks + 2);

    const before = fingerprint(user.bundle);
    offerRelease(server, '1.2', nextArchive, signatureMembers(nextArchive, installedKey, '1.2'));
    await checkUntilReleaseHandled(screen, server, anySignature, '1.1');
    assert.equal(fingerprint(user.bundle), before);

    const painted = server.paintCount();
    offerRelease(server, '1.2', nextArchive, signatureMembers(nextArchive, newKey, '1.2'));
    await beginUpdateCheck(screen);
    await screen.awaitPanel('Orvel OS is bijgewerkt naar 1.2');
    assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.2');
    await screen.pressKeys('Return');
    await server.awaitPainted(painted + 1);
    await screen.awaitWindow();
    await quitRestartedApplication(user);
  });
