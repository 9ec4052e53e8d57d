// A build with a public key installs only the releases of the owner of the private key.

import assert from 'node:assert/strict';
import { rmSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import {
  fingerprint, makeRelease, makeUpdateKey, plistValue, releaseRoutes, signatureOf,
} from '../support/desktop/release.mjs';
import {
  acceptRestart, awaitSilentCheck, checkForUpdates, quitRestarted, upToDateNotice, updatedNotice,
  withUpdateServer,
} from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const ours = makeUpdateKey();
const next = makeUpdateKey();
const unreadable = 'Kon niet controleren op updates.';
/// The routes of a server without a later release, for a build with a key.
const nothingNew = releaseRoutes('1.0', undefined, { handtekening: 'not verified' });

/// Starts version 1.0 with a public key.
function withSigningServer(user, screen, body) {
  const begin = () => {
    user.setPlistValues({ ORVELOSUpdateKey: ours.publicKey });
    return nothingNew;
  };
  return withUpdateServer(user, screen, begin, async (server, routes, run) => {
    await awaitSilentCheck(server);
    await body(server, routes, run);
  });
}

/// Offers a release and checks for updates from the menu. Waits for the notice, or else until
/// the downloaded archive has been handled.
async function offer(screen, server, routes, release, notice) {
  Object.assign(routes, release);
  if (notice) return checkForUpdates(screen, notice);
  const downloads = () => server.requestsTo('/download/orvel-os.zip').length;
  const before = downloads();
  await screen.chooseApplicationItem(1);
  await waitFor('the request for the archive', () => downloads() > before);
  // Responses are handled in order: when the next check reports, the installation has ended.
  Object.assign(routes, nothingNew);
  await checkForUpdates(screen, upToDateNotice());
}

async function install(user, screen, server, routes, run, release) {
  Object.assign(routes, release);
  await screen.chooseApplicationItem(1);
  await screen.awaitPanel(updatedNotice);
  await acceptRestart(user, screen, server, run);
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
  { timeout: 400_000 }, (user, screen, t) =>
    withSigningServer(user, screen, async (server, routes, run) => {
      const folder = dirname(user.bundle);
      const before = fingerprint(folder);
      const archive = makeRelease(user);
      const unpacked = join(user.environment.XDG_CACHE_HOME,
        'nl.orvel.os/temporary/orvel-os-update-1.1');
      for (const [situation, release] of Object.entries(refused)) {
        rmSync(unpacked, { recursive: true, force: true });
        await offer(screen, server, routes, ...release(archive, user));
        assert.equal(fingerprint(folder), before, situation);
        t.diagnostic(`nothing changed: ${situation}`);
      }
      await install(user, screen, server, routes, run,
        releaseRoutes('1.1', archive, signatureOf(archive, ours, '1.1')));
      await quitRestarted(user, screen);
      assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
    }));

test('a signed release can change the key, and the old key is refused afterwards',
  { timeout: 200_000 }, (user, screen) =>
    withSigningServer(user, screen, async (server, routes, run) => {
      const archive = makeRelease(user, { key: next.publicKey });
      const later = makeRelease(user, { version: '1.2', key: next.publicKey });
      await install(user, screen, server, routes, run, releaseRoutes('1.1', archive,
        signatureOf(archive, ours, '1.1', { sleutel: next.publicKey })));
      assert.equal(plistValue(user.bundle, 'ORVELOSUpdateKey'), next.publicKey);

      const before = fingerprint(user.bundle);
      Object.assign(routes, releaseRoutes('1.2', later, signatureOf(later, ours, '1.2')));
      const downloads = server.requestsTo('/download/orvel-os.zip').length;
      await screen.chooseApplicationItem(1);
      await waitFor('the archive', () =>
        server.requestsTo('/download/orvel-os.zip').length > downloads);
      Object.assign(routes, nothingNew);
      await checkForUpdates(screen, upToDateNotice('1.1'));
      assert.equal(fingerprint(user.bundle), before);

      const painted = server.reported('painted').length;
      Object.assign(routes, releaseRoutes('1.2', later, signatureOf(later, next, '1.2')));
      await screen.chooseApplicationItem(1);
      await screen.awaitPanel('Orvel OS is bijgewerkt naar 1.2');
      assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.2');
      await screen.pressKeys('Return');
      await server.awaitPainted(painted + 1);
      await screen.awaitWindow();
      await quitRestarted(user, screen);
    }));
