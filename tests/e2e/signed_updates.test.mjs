// A build with a public key installs only the releases of the owner of the private key.

import assert from 'node:assert/strict';
import { rmSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import {
  fingerprint, makeRelease, makeUpdateKey, plistValue, releaseRoutes, signatureOf,
} from '../support/desktop/release.mjs';
import {
  awaitReleaseHandled, awaitSilentCheck, checkForUpdates, checkFromMenu, installFromMenu, offer,
  openUpdateServer, quitRestarted, upToDateNotice,
} from '../support/desktop/updates.mjs';

const { test } = desktopTests({ accessibility: true });

const ours = makeUpdateKey();
const next = makeUpdateKey();
const unreadable = 'Kon niet controleren op updates.';
/// A build with a key reads only manifests with a signature.
const unverified = { handtekening: 'not verified' };

/// Starts version 1.0 with a public key, and waits until its silent check has found no release.
async function startWithKey(user) {
  const server = await openUpdateServer(user);
  user.setPlistValues({ ORVELOSUpdateKey: ours.publicKey });
  offer(server, '1.0', undefined, unverified);
  await user.startAndShowPage({ server });
  await awaitSilentCheck(server);
  return server;
}

/// Releases that change nothing, with the notice that the user sees, if any. `archive` is a
/// release of version 1.1.
const refused = {
  'no signature': (archive) => [releaseRoutes('1.1', archive), unreadable],
  'a signature that is no text': (archive) =>
    [releaseRoutes('1.1', archive, { handtekening: 1 }), unreadable],
  'another key': (archive) => [releaseRoutes('1.1', archive, signatureOf(archive, next, '1.1'))],
  'a signature for another version': (archive) =>
    [releaseRoutes('1.1', archive, signatureOf(archive, ours, '1.2'))],
  'a signature for the other edition': (archive) =>
    [releaseRoutes('1.1', archive, signatureOf(archive, ours, '1.1', { edition: 'mac' }))],
  'an archive swapped after signing': (archive, user) =>
    [releaseRoutes('1.1', makeRelease(user, { version: '1.1.1' }),
      signatureOf(archive, ours, '1.1'))],
  'an archive with one byte changed after signing': (archive) => {
    const changed = Buffer.from(archive);
    changed[changed.length >> 1] ^= 1;
    return [releaseRoutes('1.1', changed, signatureOf(archive, ours, '1.1'))];
  },
  'the manifest of an earlier release': (_, user) => {
    const earlier = makeRelease(user, { version: '0.9' });
    return [releaseRoutes('0.9', earlier, signatureOf(earlier, ours, '0.9')), upToDateNotice()];
  },
  'an earlier release with its signature under a later version': (_, user) => {
    const earlier = makeRelease(user, { version: '0.9' });
    return [releaseRoutes('1.1', earlier, signatureOf(earlier, ours, '0.9'))];
  },
  'an earlier version in an archive that is signed as a later one': (_, user) => {
    const earlier = makeRelease(user, { version: '0.9' });
    return [releaseRoutes('1.1', earlier, signatureOf(earlier, ours, '1.1'))];
  },
  'a key in the archive that the signature does not cover': (_, user) => {
    const archive = makeRelease(user, { key: next.publicKey });
    return [releaseRoutes('1.1', archive, signatureOf(archive, ours, '1.1'))];
  },
  'a key in the manifest that the signature does not cover': (_, user) => {
    const archive = makeRelease(user, { key: next.publicKey });
    return [releaseRoutes('1.1', archive,
      { ...signatureOf(archive, ours, '1.1'), sleutel: next.publicKey })];
  },
};

test('releases without a valid signature change nothing, and a signed one is installed',
  async (user, screen, t) => {
    const server = await startWithKey(user);
    const folder = dirname(user.bundle);
    const before = fingerprint(folder);
    const archive = makeRelease(user);
    const unpacked = join(user.environment.XDG_CACHE_HOME,
      'nl.orvel.os/temporary/orvel-os-update-1.1');
    for (const [situation, release] of Object.entries(refused)) {
      rmSync(unpacked, { recursive: true, force: true });
      const [routes, notice] = release(archive, user);
      Object.assign(server.routes, routes);
      if (notice) {
        await checkForUpdates(screen, notice);
      } else {
        await awaitReleaseHandled(screen, server, unverified);
      }
      assert.equal(fingerprint(folder), before, situation);
      t.diagnostic(`nothing changed: ${situation}`);
    }
    offer(server, '1.1', archive, signatureOf(archive, ours, '1.1'));
    await installFromMenu(user, server);
    await quitRestarted(user);
    assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
  });

test('a signed release can change the key, and the old key is refused afterwards',
  async (user, screen) => {
    const server = await startWithKey(user);
    const archive = makeRelease(user, { key: next.publicKey });
    const later = makeRelease(user, { version: '1.2', key: next.publicKey });
    offer(server, '1.1', archive,
      signatureOf(archive, ours, '1.1', { sleutel: next.publicKey }));
    await installFromMenu(user, server);
    assert.equal(plistValue(user.bundle, 'ORVELOSUpdateKey'), next.publicKey);

    const before = fingerprint(user.bundle);
    offer(server, '1.2', later, signatureOf(later, ours, '1.2'));
    await awaitReleaseHandled(screen, server, unverified, '1.1');
    assert.equal(fingerprint(user.bundle), before);

    const painted = server.paintCount();
    offer(server, '1.2', later, signatureOf(later, next, '1.2'));
    await checkFromMenu(screen);
    await screen.awaitPanel('Orvel OS is bijgewerkt naar 1.2');
    assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.2');
    await screen.pressKeys('Return');
    await server.awaitPainted(painted + 1);
    await screen.awaitWindow();
    await quitRestarted(user);
  });
