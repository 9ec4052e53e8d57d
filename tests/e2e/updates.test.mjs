// Finding, installing and refusing releases.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
  chmodSync, mkdirSync, readFileSync, renameSync, rmSync, symlinkSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import {
  fingerprint, makeRelease, plistValue, releaseRoutes,
} from '../support/desktop/release.mjs';
import {
  acceptRestart, awaitSilentCheck, checkForUpdates, instances, quitRestarted, startAndShowPage,
  upToDateNotice, updatedNotice, withUpdateServer,
} from '../support/desktop/updates.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const manifest = '/download/linux.json';
const archive = '/download/orvel-os.zip';
const installedVersion = (user) => plistValue(user.bundle, 'CFBundleShortVersionString');

/// Offers the user's application as version 1.1, installs it from the menu and restarts.
async function installFromMenu(user, screen, server, routes, run) {
  Object.assign(routes, releaseRoutes('1.1', makeRelease(user)));
  await screen.chooseApplicationItem(1);
  await screen.awaitPanel(updatedNotice);
  await acceptRestart(user, screen, server, run);
}

test('the silent check four seconds after the start installs a later release',
  async (user, screen) => {
    const begin = () => releaseRoutes('1.1', makeRelease(user));
    await withUpdateServer(user, screen, begin, async (server, _, run) => {
      await screen.awaitPanel(updatedNotice);
      await saveScreenshot('update-done');
      const manifests = server.requestsTo(manifest);
      const archives = server.requestsTo(archive);
      assert.deepEqual([manifests.length, archives.length], [1, 1]);
      for (const { headers } of [...manifests, ...archives]) {
        assert.equal(headers['x-orvel-app'], KEY);
      }
      assert.equal(manifests[0].headers['cache-control'], 'no-cache');
      assert.equal(installedVersion(user), '1.1');
      await acceptRestart(user, screen, server, run);
      await quitRestarted(user, screen);
      assert.equal(installedVersion(user), '1.1');
    });
  });

test('the menu installs a later release', (user, screen) =>
  withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
    await awaitSilentCheck(server);
    await installFromMenu(user, screen, server, routes, run);
    await quitRestarted(user, screen);
    assert.equal(installedVersion(user), '1.1');
  }));

/// Returns the pixels of the About dialog, once they no longer change.
async function aboutPixels(screen) {
  await screen.chooseApplicationItem(0);
  const region = await screen.geometry(await screen.awaitSecondWindow());
  let before;
  const pixels = await waitFor('a stable About dialog', () => {
    const screenshot = screen.screenshot();
    const now = screenshot.region(region);
    const isStable = now === before && !screenshot.shows(pageColour);
    before = now;
    return isStable && now;
  }, { every: 200 });
  await saveScreenshot('about');
  await screen.pressKeys('Escape');
  await screen.awaitWindowCount(1);
  return pixels;
}

test('the restarted application shows its new version and installs nothing again',
  { timeout: 90_000 }, (user, screen) =>
    withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, first) => {
      const old = await aboutPixels(screen);
      await user.quit(first);
      user.setPlistValues({ CFBundleShortVersionString: '1.1' });
      const example = await startAndShowPage(user, screen, server);
      const expected = await aboutPixels(screen);
      await user.quit(example);
      assert.notEqual(expected, old);

      user.setPlistValues({ CFBundleShortVersionString: '1.0' });
      const checks = server.requestsTo(manifest).length;
      const second = await startAndShowPage(user, screen, server);
      // The silent check must not find the release, even if it comes before the page.
      await awaitSilentCheck(server, checks + 1);
      await installFromMenu(user, screen, server, routes, second);
      await screen.awaitPage();
      assert.equal(await aboutPixels(screen), expected);
      const downloads = server.requestsTo(archive).length;
      await checkForUpdates(screen, upToDateNotice('1.1'));
      assert.equal(server.requestsTo(archive).length, downloads);
      await quitRestarted(user, screen);
    }));

test('a server without a manifest is reported to the user who checks from the menu',
  (user, screen) => withUpdateServer(user, screen, () => ({}), async (server) => {
    await awaitSilentCheck(server);
    await checkForUpdates(screen, 'Kon niet controleren op updates.');
    await user.quit();
  }));

test('with a local server the menu names the build command and requests nothing',
  async (user, screen) => {
    await user.startAndShowPage();
    await checkForUpdates(screen, 'Op deze Mac werk je de app bij met: ./scripts/build-app.sh');
    await user.quit();
    const requests = user.root.events('request').filter(({ url }) => url.startsWith('/download/'));
    assert.deepEqual(requests, []);
  });

/// Starts to watch the application's instances. Returns a function that stops and returns their
/// process IDs and the maximum number at one time.
function watchInstances(user) {
  const seen = new Set();
  let max = 0;
  const look = () => {
    const now = instances(user).map(({ pid }) => pid);
    now.forEach((pid) => seen.add(pid));
    max = Math.max(max, now.length);
  };
  look();
  const timer = setInterval(look, 10);
  return () => {
    look();
    clearInterval(timer);
    return { seen: [...seen], max };
  };
}

test('the new process waits until the old one has killed a server that ignores SIGTERM',
  { behaviour: { ignoresSignals: true }, timeout: 120_000 }, async (user, screen) => {
    const gate = join(user.folder, 'gate');
    const begin = () => releaseRoutes('1.1', { body: makeRelease(user), gate });
    await withUpdateServer(user, screen, begin, async (server, _, run) => {
      await waitFor('the download', () => server.requestsTo(archive).length === 1);
      // The user changes to the local server during the download.
      await screen.answerAddressDialog('http://127.0.0.1:4767/');
      await user.root.awaitPainted();
      writeFileSync(gate, '');
      await screen.awaitPanel(updatedNotice);

      const stopWatching = watchInstances(user);
      const pressed = Date.now();
      await screen.pressKeys('Return');
      const end = await user.awaitCleanExit(run);
      assert.ok(end - pressed >= 2900, `the old process ended after ${end - pressed} ms`);
      await user.root.awaitPainted(2);
      const { seen, max } = stopWatching();
      assert.equal(max, 1);
      assert.equal(seen.length, 2);
      assert.equal(seen[0], run.pid);
      const started = user.root.events('started');
      assert.equal(started.length, 2);
      assert.ok(started[1].time > end, 'the new process starts the second server');
      await screen.awaitWindow();
      await quitRestarted(user, screen);
      await user.root.awaitServerExit(2);
    });
  });

const releaseWith = (alter) => (user) => makeRelease(user, { alter });
const programOf = (bundle) => join(bundle, 'Contents/Linux/orvel-os');

/// Returns a release with an archive entry outside of the folder.
function releaseWithEscapingEntry(user) {
  const folder = join(user.folder, 'a/b');
  mkdirSync(folder, { recursive: true });
  const path = join(folder, 'archive.zip');
  writeFileSync(path, makeRelease(user));
  writeFileSync(join(user.folder, 'outside'), 'not here');
  execFileSync('zip', ['-q', path, '../../outside'], { cwd: folder });
  return readFileSync(path);
}

function releaseWithWrongByte(user) {
  const bytes = makeRelease(user);
  bytes[5000] ^= 0xff;
  return bytes;
}

/// Returns a release whose program needs something that is missing: a name in the program is
/// replaced.
const releaseNeeding = (name, missing) => releaseWith((_, bundle) => {
  const program = readFileSync(programOf(bundle), 'latin1');
  assert.ok(program.includes(name), `no ${name} in the program`);
  writeFileSync(programOf(bundle), program.replaceAll(name, missing), 'latin1');
});

const invalidReleases = {
  'an HTML error page': () => ({
    headers: { 'content-type': 'text/html' }, body: '<!doctype html><p>Out of order',
  }),
  'status 404': (user) => ({ status: 404, body: makeRelease(user) }),
  'status 206': (user) => ({ status: 206, body: makeRelease(user) }),
  'a truncated response': (user) => ({ body: makeRelease(user), truncated: true }),
  'an empty body': () => Buffer.alloc(0),
  'a truncated archive': (user) => makeRelease(user).subarray(0, 20_000),
  'an archive with a wrong byte': releaseWithWrongByte,
  'a bundle with another name': releaseWith((folder, bundle) =>
    renameSync(bundle, join(folder, 'Orvel OS 1.1.app'))),
  'a bundle in a subfolder': releaseWith((folder, bundle) => {
    mkdirSync(join(folder, 'subfolder'));
    renameSync(bundle, join(folder, 'subfolder/Orvel OS.app'));
  }),
  'another bundle identifier': (user) => makeRelease(user, { identity: 'nl.elsewhere.os' }),
  'a bundle identifier in another case': (user) => makeRelease(user, { identity: 'nl.orvel.OS' }),
  'no Info.plist': releaseWith((_, bundle) => rmSync(join(bundle, 'Contents/Info.plist'))),
  'a malformed Info.plist': releaseWith((_, bundle) =>
    writeFileSync(join(bundle, 'Contents/Info.plist'), '<plist><dict>')),
  'a file in place of the bundle': releaseWith((_, bundle) => {
    rmSync(bundle, { recursive: true });
    writeFileSync(bundle, 'no folder');
  }),
  'a symbolic link in place of the bundle': releaseWith((folder, bundle) => {
    renameSync(bundle, join(folder, 'elsewhere'));
    symlinkSync('elsewhere', bundle);
  }),
  'a symbolic link to the installed bundle': (user) => makeRelease(user, {
    alter: (_, bundle) => {
      rmSync(bundle, { recursive: true });
      symlinkSync(user.bundle, bundle);
    },
  }),
  'an entry with a path out of the archive': releaseWithEscapingEntry,
  'a bundle for another system': releaseWith((_, bundle) =>
    renameSync(join(bundle, 'Contents/Linux'), join(bundle, 'Contents/MacOS'))),
  'a relative symbolic link out of the bundle': releaseWith((_, bundle) =>
    symlinkSync('../../..', join(bundle, 'Contents/out'))),
  'an absolute symbolic link': releaseWith((_, bundle) =>
    symlinkSync('/etc', join(bundle, 'Contents/out'))),
  'a folder in place of the program': releaseWith((_, bundle) => {
    rmSync(programOf(bundle));
    mkdirSync(programOf(bundle));
  }),
  'a program for another processor': releaseWith((_, bundle) => {
    const bytes = readFileSync(programOf(bundle));
    // e_machine of the ELF header.
    bytes.writeUInt16LE(bytes.readUInt16LE(18) ^ 1, 18);
    writeFileSync(programOf(bundle), bytes);
  }),
  'a program without the permission to execute': releaseWith((_, bundle) =>
    chmodSync(programOf(bundle), 0o644)),
  'a program for a newer GTK': releaseNeeding('libgtk-4.so.1', 'libgtk-9.so.1'),
  'a program for a newer C library': releaseNeeding('GLIBC_2.', 'GLIBC_9.'),
  'a program that calls a missing function':
    releaseNeeding('gtk_window_present', 'gtk_window_presenu'),
};

/// Offers a release, checks for updates from the menu, and waits until it has been handled.
async function offerRelease(user, screen, server, routes, version, body) {
  const downloads = () => server.requestsTo(archive).length;
  const before = downloads();
  Object.assign(routes, releaseRoutes(version, body));
  await screen.chooseApplicationItem(1);
  await waitFor('the request for the archive', () => downloads() > before);
  // Responses are handled in order: when the next check reports, the installation has ended.
  Object.assign(routes, releaseRoutes('1.0'));
  await checkForUpdates(screen, upToDateNotice());
}

test('an invalid release changes nothing, and a valid one is installed afterwards',
  { timeout: 900_000 }, (user, screen, t) =>
    withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
      const before = fingerprint(join(user.bundle, '..'));
      await awaitSilentCheck(server);
      for (const [situation, release] of Object.entries(invalidReleases)) {
        await offerRelease(user, screen, server, routes, '1.1', release(user));
        assert.equal(fingerprint(join(user.bundle, '..')), before, situation);
        t.diagnostic(`nothing changed: ${situation}`);
      }
      assert.equal(run.exit, null);
      await installFromMenu(user, screen, server, routes, run);
      await quitRestarted(user, screen);
    }));

const unsafeVersions = [
  "2.1'; touch outside; '", '2.1/../../../../outside', '2.1\0', `2.${'0'.repeat(300)}`,
];

test('a version that cannot be part of a folder name changes nothing', { timeout: 120_000 },
  (user, screen) =>
    withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes) => {
      const before = fingerprint(join(user.bundle, '..'));
      await awaitSilentCheck(server);
      const release = makeRelease(user);
      for (const version of unsafeVersions) {
        await offerRelease(user, screen, server, routes, version, release);
        assert.equal(fingerprint(join(user.bundle, '..')), before, version);
      }
      await user.quit();
    }));
