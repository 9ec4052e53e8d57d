// Releases that must not be installed: no word about it, and nothing changed.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
  chmodSync, mkdirSync, readFileSync, renameSync, rmSync, symlinkSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

import { fingerprint, makeRelease, releaseRoutes } from '../support/desktop/release.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { checkForUpdates, upToDateNotice, withUpdateServer, acceptRestart, quitRestarted, updatedNotice } from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ usesPort: false });

const altered = (alter) => (user) => makeRelease(user, { alter });

/// A release with an entry that leads out of the folder it is unpacked in.
function leadingOut(user) {
  const folder = join(user.folder, 'a/b');
  mkdirSync(folder, { recursive: true });
  const archive = join(folder, 'archief.zip');
  writeFileSync(archive, makeRelease(user));
  writeFileSync(join(user.folder, 'buit'), 'hier niet');
  execFileSync('zip', ['-q', archive, '../../buit'], { cwd: folder });
  return readFileSync(archive);
}

function withBytes(user, change) {
  const archive = makeRelease(user);
  change(archive);
  return archive;
}

const programOf = (bundle) => join(bundle, 'Contents/Linux/orvel-os');

/// A release whose program has a missing dependency: a name that it is linked with is
/// replaced.
const needing = (name, missing) => altered((_, bundle) => {
  const program = readFileSync(programOf(bundle), 'latin1');
  assert.ok(program.includes(name), `no ${name} in the program`);
  writeFileSync(programOf(bundle), program.replaceAll(name, missing), 'latin1');
});

const wrong = {
  'an error page': () => ({
    headers: { 'content-type': 'text/html' }, body: '<!doctype html><p>Storing',
  }),
  'status 404': (user) => ({ status: 404, body: makeRelease(user) }),
  'status 206': (user) => ({ status: 206, body: makeRelease(user) }),
  'a connection that is cut': (user) => ({ body: makeRelease(user), truncated: true }),
  'an empty body': () => Buffer.alloc(0),
  'an archive that is cut short': (user) => makeRelease(user).subarray(0, 20_000),
  'an archive with a wrong byte': (user) => withBytes(user, (bytes) => { bytes[5000] ^= 0xff; }),
  'a bundle of another name': altered((folder, bundle) =>
    renameSync(bundle, join(folder, 'Orvel OS 1.1.app'))),
  'a bundle further down': altered((folder, bundle) => {
    mkdirSync(join(folder, 'map'));
    renameSync(bundle, join(folder, 'map/Orvel OS.app'));
  }),
  'a bundle of another application': (user) => makeRelease(user, { identity: 'nl.elders.os' }),
  'an identity in other letters': (user) => makeRelease(user, { identity: 'nl.orvel.OS' }),
  'no information': altered((_, bundle) => rmSync(join(bundle, 'Contents/Info.plist'))),
  'damaged information': altered((_, bundle) =>
    writeFileSync(join(bundle, 'Contents/Info.plist'), '<plist><dict>')),
  'a file for a bundle': altered((_, bundle) => {
    rmSync(bundle, { recursive: true });
    writeFileSync(bundle, 'geen map');
  }),
  'a link for a bundle': altered((folder, bundle) => {
    renameSync(bundle, join(folder, 'elders'));
    symlinkSync('elders', bundle);
  }),
  'a link to the present bundle': (user) => makeRelease(user, {
    alter: (_, bundle) => {
      rmSync(bundle, { recursive: true });
      symlinkSync(user.bundle, bundle);
    },
  }),
  'an entry that leads out': leadingOut,
  'a bundle of another system': altered((_, bundle) =>
    renameSync(join(bundle, 'Contents/Linux'), join(bundle, 'Contents/MacOS'))),
  'a link out of the bundle': altered((_, bundle) =>
    symlinkSync('../../..', join(bundle, 'Contents/uit'))),
  'a link to elsewhere': altered((_, bundle) => symlinkSync('/etc', join(bundle, 'Contents/uit'))),
  'a folder for a program': altered((_, bundle) => {
    rmSync(programOf(bundle));
    mkdirSync(programOf(bundle));
  }),
  'a program for another processor': altered((_, bundle) => {
    const program = programOf(bundle);
    const bytes = readFileSync(program);
    bytes.writeUInt16LE(bytes.readUInt16LE(18) ^ 1, 18);
    writeFileSync(program, bytes);
  }),
  'a program that may not be run': altered((_, bundle) =>
    chmodSync(programOf(bundle), 0o644)),
  'a program for a newer GTK': needing('libgtk-4.so.1', 'libgtk-9.so.1'),
  'a program for a newer C library': needing('GLIBC_2.', 'GLIBC_9.'),
  'a program that calls a newer function': needing('gtk_window_present', 'gtk_window_presenu'),
};

const versions = [
  "2.1'; touch buit; '", '2.1/../../../../buit', '2.1\0', `2.${'0'.repeat(300)}`,
];

/// Offers something by the menu and waits until the application is done with it.
async function tryOut(user, screen, server, routes, [versie, archive]) {
  const asked = () => server.requestsTo('/download/orvel-os.zip').length;
  const before = asked();
  Object.assign(routes, releaseRoutes(versie, archive));
  await screen.chooseApplicationItem(1);
  await waitFor('the request for the archive', () => asked() > before);
  // Answers are seen to one after the other: when the next check tells its
  // outcome, the installation has ended.
  Object.assign(routes, releaseRoutes('1.0'));
  await checkForUpdates(screen, upToDateNotice());
}

test('a release that is not right changes nothing, and a right one is taken after it',
  { timeout: 480_000 }, async (user, screen, t) => {
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
      const before = fingerprint(join(user.bundle, '..'));
      await waitFor('the silent check', () => server.requestsTo('/download/linux.json').length === 1);
      for (const [what, archive] of Object.entries(wrong)) {
        await tryOut(user, screen, server, routes, ['1.1', archive(user)]);
        assert.equal(fingerprint(join(user.bundle, '..')), before, what);
        t.diagnostic(`nothing changed: ${what}`);
      }
      assert.equal(run.exit, null);
      Object.assign(routes, releaseRoutes('1.1', makeRelease(user)));
      await screen.chooseApplicationItem(1);
      await screen.awaitPanel(updatedNotice);
      await acceptRestart(user, screen, server, run);
      await quitRestarted(user, screen);
    });
  });

test('a version that no folder can be named for runs no command', { timeout: 120_000 },
  async (user, screen) => {
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes) => {
      const before = fingerprint(join(user.bundle, '..'));
      await waitFor('the silent check', () => server.requestsTo('/download/linux.json').length === 1);
      const archive = makeRelease(user);
      for (const versie of versions) {
        await tryOut(user, screen, server, routes, [versie, archive]);
        assert.equal(fingerprint(join(user.bundle, '..')), before, versie);
      }
      await user.quit();
    });
  });
