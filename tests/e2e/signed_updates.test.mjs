// A build with a public key installs only releases that are signed with the private key.

import assert from 'node:assert/strict';
import { dirname } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import {
  fingerprint, makeRelease, makeUpdateKey, plistValue, signatureMembers,
} from '../support/desktop/release.mjs';
import {
  beginUpdateCheck, checkAndCloseNotice, checkFailedNotice, checkUntilReleaseHandled,
  installAndRestart, manifestPath, offerRelease, quitRestartedApplication, startWithUpdateServer,
  upToDateNotice,
} from '../support/desktop/updates.mjs';

const { test } = desktopTests({ accessibility: true });

const installedKey = makeUpdateKey();
const newKey = makeUpdateKey();
/// The signature (member `handtekening`) of a manifest that offers no later release. A build with a
/// key rejects a manifest without a signature, but verifies the signature only before it installs a
/// release.
const anySignature = { handtekening: 'never verified' };

/// The options of the tests: a build with a public key.
const withKey = { plist: { ORVELOSUpdateKey: installedKey.publicKey } };

/// Returns an archive and the members of the manifest that sign it. The defaults give the valid
/// signature of version 1.1.
const signed = (archive, { key = installedKey, version = '1.1', edition } = {}) =>
  ({ archive, members: signatureMembers(archive, key, version, { edition }) });

/// Returns the archive of version 0.9, and the manifest members that sign it as that version.
const earlierRelease = (user) =>
  signed(makeRelease(user, { version: '0.9' }), { version: '0.9' });

/// Returns the archive of version 1.1 with another public key, and the members that sign the
/// archive but not the key.
const releaseWithNewKey = (user) =>
  signed(makeRelease(user, { plist: { ORVELOSUpdateKey: newKey.publicKey } }));

/// Releases that version 1.0, which startWithUpdateServer() starts, does not install. Each function
/// gets the valid archive of version 1.1 and the user, and returns what the server offers instead
/// of the valid release: version, archive, or signature members of the manifest. With a `notice`
/// the manifest alone is the reason: the application requests no archive and shows this notice.
const refusedReleases = {
  'a manifest without a signature': () => ({ members: {}, notice: checkFailedNotice }),
  'a signature that is a number': () =>
    ({ members: { handtekening: 1 }, notice: checkFailedNotice }),
  'a signature by another key': (archive) => signed(archive, { key: newKey }),
  'a signature for another version': (archive) => signed(archive, { version: '1.2' }),
  'a signature for the other edition': (archive) => signed(archive, { edition: 'mac' }),
  'an archive swapped after signing': (_, user) =>
    ({ archive: makeRelease(user, { version: '1.1.1' }) }),
  'an archive with one byte changed after signing': (archive) => {
    const changed = Buffer.from(archive);
    changed[changed.length >> 1] ^= 1;
    return { archive: changed };
  },
  'the manifest of an earlier release': (_, user) =>
    ({ version: '0.9', ...earlierRelease(user), notice: upToDateNotice() }),
  'archive and signature of version 0.9, offered as 1.1': (_, user) => earlierRelease(user),
  'an archive of version 0.9, signed and offered as 1.1': (_, user) =>
    signed(makeRelease(user, { version: '0.9' })),
  'a key in the archive that the signature does not cover': (_, user) => releaseWithNewKey(user),
  'a key in the manifest that the signature does not cover': (_, user) => {
    const { archive, members } = releaseWithNewKey(user);
    return { archive, members: { ...members, sleutel: newKey.publicKey } };
  },
};

test('releases without a valid signature or of an earlier version change nothing, and a valid ' +
  'one is installed',
  withKey, async (user, screen, t) => {
    const server = await startWithUpdateServer(user, anySignature);
    const folder = dirname(user.bundle);
    const before = fingerprint(folder);
    const archive = makeRelease(user);
    const valid = { version: '1.1', ...signed(archive) };
    for (const [situation, difference] of Object.entries(refusedReleases)) {
      const { notice, ...release } = { ...valid, ...difference(archive, user) };
      offerRelease(server, release.version, release.archive, release.members);
      if (notice) {
        await checkAndCloseNotice(screen, notice);
      } else {
        // checkUntilReleaseHandled() checks twice. The second manifest needs a signature too.
        await checkUntilReleaseHandled(screen, server, anySignature);
      }
      assert.equal(fingerprint(folder), before, situation);
      t.diagnostic(`nothing changed: ${situation}`);
    }
    offerRelease(server, valid.version, valid.archive, valid.members);
    await installAndRestart(user, server);
    await quitRestartedApplication(user);
    assert.equal(user.installedVersion(), '1.1');
  });

test('a signed release can change the key, after which a signature by the old key is rejected',
  withKey, async (user, screen) => {
    const server = await startWithUpdateServer(user, anySignature);
    const plist = { ORVELOSUpdateKey: newKey.publicKey };
    const archive = makeRelease(user, { plist });
    const nextArchive = makeRelease(user, { version: '1.2', plist });
    offerRelease(server, '1.1', archive,
      signatureMembers(archive, installedKey, '1.1', { sleutel: newKey.publicKey }));
    await installAndRestart(user, server);
    assert.equal(plistValue(user.bundle, 'ORVELOSUpdateKey'), newKey.publicKey);
    // The silent check of the new process must not find the next release. It is the third check,
    // after the silent one of the old process and the one from the menu.
    await server.awaitRequest(manifestPath, 3);

    const before = fingerprint(user.bundle);
    offerRelease(server, '1.2', nextArchive, signatureMembers(nextArchive, installedKey, '1.2'));
    await checkUntilReleaseHandled(screen, server, anySignature, '1.1');
    assert.equal(fingerprint(user.bundle), before);

    const painted = server.paintCount();
    offerRelease(server, '1.2', nextArchive, signatureMembers(nextArchive, newKey, '1.2'));
    await beginUpdateCheck(screen);
    await screen.awaitPanel('Orvel OS is bijgewerkt naar 1.2');
    assert.equal(user.installedVersion(), '1.2');
    await screen.pressKeys('Return');
    await server.awaitPainted(painted + 1);
    await screen.awaitWindow();
    await quitRestartedApplication(user);
  });
