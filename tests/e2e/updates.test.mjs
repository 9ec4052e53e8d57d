// The check for updates and the installation of valid and invalid releases.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
  mkdirSync, readFileSync, renameSync, rmSync, symlinkSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { fingerprint, makeRelease, plistValue } from '../support/desktop/release.mjs';
import {
  acceptRestart, applicationInstances, archivePath, awaitSilentCheck, checkAndCloseNotice,
  checkUntilReleaseHandled, installAndRestart, manifestPath, offerRelease, openUpdateServer,
  quitRestartedApplication, startWithUpdateServer, upToDateNotice, updatedNotice,
} from '../support/desktop/updates.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests({ accessibility: true });

const installedVersion = (user) => plistValue(user.bundle, 'CFBundleShortVersionString');

test('the silent check four seconds after the start installs a later release',
  async (user, screen) => {
    const server = await openUpdateServer(user);
    offerRelease(server, '1.1', makeRelease(user));
    await user.startAndShowPage({ server });
    await screen.awaitPanel(updatedNotice);
    await saveScreenshot('update-done');
    const manifests = server.requestsTo(manifestPath);
    const archives = server.requestsTo(archivePath);
    assert.deepEqual([manifests.length, archives.length], [1, 1]);
    for (const { headers } of [...manifests, ...archives]) {
      assert.equal(headers['x-orvel-app'], APP_KEY);
    }
    assert.equal(manifests[0].headers['cache-control'], 'no-cache');
    assert.equal(installedVersion(user), '1.1');
    await acceptRestart(user, server);
    await quitRestartedApplication(user);
    assert.equal(installedVersion(user), '1.1');
  });

/// Returns the pixels of the About dialog, once they no longer change.
async function aboutPixels(screen) {
  await screen.chooseApplicationMenuItem('Over Orvel OS');
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

test('the menu installs a later release once, and its About dialog shows the new version',
  async (user, screen) => {
    const server = await startWithUpdateServer(user);
    const old = await aboutPixels(screen);
    await user.quit();
    user.setPlistValues({ CFBundleShortVersionString: '1.1' });
    await user.startAndShowPage({ server });
    const expected = await aboutPixels(screen);
    await user.quit();
    assert.notEqual(expected, old);

    user.setPlistValues({ CFBundleShortVersionString: '1.0' });
    const checks = server.requestsTo(manifestPath).length;
    await user.startAndShowPage({ server });
    // The silent check must not find the release, even if it comes before the page.
    await awaitSilentCheck(server, checks + 1);
    offerRelease(server, '1.1', makeRelease(user));
    await installAndRestart(user, server);
    assert.equal(installedVersion(user), '1.1');
    await screen.awaitPageOnScreen();
    assert.equal(await aboutPixels(screen), expected);
    const downloads = server.requestsTo(archivePath).length;
    await checkAndCloseNotice(screen, upToDateNotice('1.1'));
    assert.equal(server.requestsTo(archivePath).length, downloads);
    await quitRestartedApplication(user);
  });

test('a check from the menu reports a server without a manifest',
  async (user, screen) => {
    const server = await startWithUpdateServer(user);
    server.routes = {};
    await checkAndCloseNotice(screen, 'Kon niet controleren op updates.');
  });

test('with a local server the check shows the build command and sends no request',
  async (user, screen) => {
    await user.startAndShowPage();
    await checkAndCloseNotice(screen, 'Op deze Mac werk je de app bij met: ./scripts/build-app.sh');
    await user.quit();
    const requests = user.root.events('request').filter(({ url }) => url.startsWith('/download/'));
    assert.deepEqual(requests, []);
  });

/// Starts to watch the application's instances. Returns a function that stops and returns their
/// process IDs and the maximum number at one time.
function watchInstances(user) {
  const seen = new Set();
  let max = 0;
  const recordInstances = () => {
    const now = applicationInstances(user).map(({ pid }) => pid);
    now.forEach((pid) => seen.add(pid));
    max = Math.max(max, now.length);
  };
  recordInstances();
  const timer = setInterval(recordInstances, 10);
  return () => {
    recordInstances();
    clearInterval(timer);
    return { seen: [...seen], max };
  };
}

test('the new process starts after the old one has killed a server that ignores SIGTERM',
  { behaviour: { ignoresSignals: true } }, async (user, screen) => {
    const gate = join(user.folder, 'gate');
    const server = await openUpdateServer(user);
    offerRelease(server, '1.1', { body: makeRelease(user), gate });
    const run = await user.startAndShowPage({ server });
    await waitFor('the download', () => server.requestsTo(archivePath).length === 1);
    // The user changes to the local server during the download.
    await screen.answerAddressDialog('http://127.0.0.1:4767/');
    await user.root.awaitPainted();
    writeFileSync(gate, '');
    await screen.awaitPanel(updatedNotice);

    const stopWatching = watchInstances(user);
    const pressed = Date.now();
    await screen.pressKeys('Return');
    const end = await user.awaitCleanExit(run);
    // The application kills the server after 3 seconds.
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
    await quitRestartedApplication(user);
    await user.root.awaitServerExit(2);
  });

/// Returns a function that makes a release from an altered bundle.
const alteredRelease = (alter) => (user) => makeRelease(user, { alter });

/// Returns a release whose archive has an entry "../../outside".
function releaseWithEscapingEntry(user) {
  const folder = join(user.folder, 'a/b');
  mkdirSync(folder, { recursive: true });
  const path = join(folder, 'archive.zip');
  writeFileSync(path, makeRelease(user));
  writeFileSync(join(user.folder, 'outside'), 'not here');
  execFileSync('zip', ['-q', path, '../../outside'], { cwd: folder });
  return readFileSync(path);
}

/// One release for each step of an installation that may reject it. The tests of the single steps
/// have more invalid releases.
const invalidReleases = {
  'an HTML error page': () => ({
    headers: { 'content-type': 'text/html' }, body: '<!doctype html><p>Out of order',
  }),
  'status 404': (user) => ({ status: 404, body: makeRelease(user) }),
  'a truncated response': (user) => ({ body: makeRelease(user), truncated: true }),
  'a truncated archive': (user) => makeRelease(user).subarray(0, 20_000),
  'an entry with a path out of the archive': releaseWithEscapingEntry,
  'a bundle in a subfolder': alteredRelease((folder, bundle) => {
    mkdirSync(join(folder, 'subfolder'));
    renameSync(bundle, join(folder, 'subfolder/Orvel OS.app'));
  }),
  'another bundle identifier': (user) => makeRelease(user, { identifier: 'nl.elsewhere.os' }),
  'a symbolic link to the installed bundle': (user) => makeRelease(user, {
    alter: (_, bundle) => {
      rmSync(bundle, { recursive: true });
      symlinkSync(user.bundle, bundle);
    },
  }),
  'a bundle for another system': alteredRelease((_, bundle) =>
    renameSync(join(bundle, 'Contents/Linux'), join(bundle, 'Contents/MacOS'))),
  'a program for a newer GTK': alteredRelease((_, bundle) => {
    const path = join(bundle, 'Contents/Linux/orvel-os');
    const program = readFileSync(path, 'latin1');
    assert.ok(program.includes('libgtk-4.so.1'));
    writeFileSync(path, program.replaceAll('libgtk-4.so.1', 'libgtk-9.so.1'), 'latin1');
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
    await installAndRestart(user, server);
    await quitRestartedApplication(user);
  });
