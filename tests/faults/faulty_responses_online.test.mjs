// A server elsewhere that answers wrongly when it is asked for a release.

import assert from 'node:assert/strict';
import { mkdirSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { plistValue, fingerprint, makeRelease, releaseRoutes } from '../support/desktop/release.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { checkForUpdates, upToDateNotice, withUpdateServer, updatedNotice } from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { badAnswers } from './harness/faulty_responses.mjs';
import { mounting, noMounts } from './harness/mount_namespace.mjs';
import { assertClean, endedWell, underWatch } from './harness/invariants.mjs';

const { test } = desktopTests({ usesPort: false });

const failed = 'Kon niet controleren op updates.';
const manifest = '/download/linux.json';
const archive = '/download/orvel-os.zip';

test('manifests that are answered wrongly', { timeout: 180_000 }, async (user, screen, t) => {
  await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
    await waitFor('the silent check', () => server.requestsTo(manifest).length === 1);
    const gate = join(user.folder, 'verder');
    for (const [what, { route, outcomes }] of Object.entries(badAnswers(gate))) {
      const outcome = outcomes.manifest;
      if (!outcome) continue;
      const body = JSON.stringify({ versie: '1.0', zip: 'x.zip' });
      routes[manifest] = { body, ...route };
      await underWatch(screen, run, t, { what: `manifest: ${what}` }, async () => {
        if (outcome !== 'waits') {
          return checkForUpdates(screen, outcome === 'failed' ? failed : upToDateNotice());
        }
        const before = server.requestsTo(manifest).length;
        await screen.chooseApplicationItem(1);
        await waitFor('the request', () => server.requestsTo(manifest).length > before);
        // The window stays usable, and the answer counts when it is whole.
        await screen.pressKeys('ctrl+r');
        await server.awaitPainted(2);
        assert.deepEqual(await screen.windows(upToDateNotice()), []);
        writeFileSync(gate, '');
        await screen.awaitPanel(upToDateNotice());
        await screen.pressKeys('Return');
        await screen.awaitPanelClosed(upToDateNotice());
        await screen.awaitWindowCount(1);
      });
    }
    await user.quit(run);
  });
  await assertClean(user);
});

test('archives that are answered wrongly', { timeout: 180_000 }, async (user, screen, t) => {
  await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
    await waitFor('the silent check', () => server.requestsTo(manifest).length === 1);
    const old = fingerprint(user.bundle);
    const release = makeRelease(user);
    const answers = Object.entries(badAnswers(join(user.folder, 'verder')));
    const cells = ['nothing', 'waits', 'taken'].flatMap((outcome) =>
      answers.filter(([, { outcomes }]) => outcomes.archive === outcome));
    assert.equal(cells.length, answers.length);
    for (const [what, { route, outcomes }] of cells) {
      const before = server.requestsTo(archive).length;
      Object.assign(routes, releaseRoutes('1.1', { body: release, ...route }));
      await underWatch(screen, run, t, { what: `archive: ${what}` }, async () => {
        await screen.chooseApplicationItem(1);
        if (outcomes.archive === 'taken') return screen.awaitPanel(updatedNotice);
        await waitFor('the request', () => server.requestsTo(archive).length > before);
        // The next check is answered after an archive that has come to its end.
        Object.assign(routes, releaseRoutes('1.0'));
        await checkForUpdates(screen, upToDateNotice());
        assert.equal(fingerprint(user.bundle), old, what);
      });
    }
    // The notice stands, and others last, while the application is quit.
    process.kill(run.pid, 'SIGTERM');
    await endedWell(user, run);
    assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
  });
  await assertClean(user);
});

const room = 128 << 20;

/// A small archive of a bundle for which there is no room.
const spacious = (user) => makeRelease(user, {
  alter: (_, bundle) =>
    writeFileSync(join(bundle, 'Contents/Resources/ruim'), Buffer.alloc(2 * room)),
});

/// Returns the size on disk of the only file with this name below a folder.
function storedBytes(name, folder) {
  const [path] = readdirSync(folder, { recursive: true }).filter((each) => each.endsWith(name));
  return statSync(join(folder, path)).blocks * 512;
}

test('a release that there is no room to unpack changes nothing, and a smaller one is taken',
  { skip: noMounts, timeout: 120_000 }, async (user, screen, t) => {
    const temporary = join(user.environment.XDG_CACHE_HOME, 'nl.orvel.os/temporary');
    mkdirSync(temporary, { recursive: true });
    const wrapper = mounting(`mount -t tmpfs -o size=${room} none "$1"`, temporary);
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
      await waitFor('the silent check', () => server.requestsTo(manifest).length === 1);
      const old = fingerprint(user.bundle);
      await underWatch(screen, run, t, {}, async () => {
        Object.assign(routes, releaseRoutes('1.1', spacious(user)));
        await screen.chooseApplicationItem(1);
        await waitFor('the request', () => server.requestsTo(archive).length === 1);
        Object.assign(routes, releaseRoutes('1.0'));
        await checkForUpdates(screen, upToDateNotice());
        assert.equal(fingerprint(user.bundle), old);
        const stored = storedBytes('ruim', `/proc/${run.pid}/root${temporary}`);
        assert.ok(stored > 0 && stored < room, 'a part of it');
        Object.assign(routes, releaseRoutes('1.1', makeRelease(user)));
        await screen.chooseApplicationItem(1);
        await screen.awaitPanel(updatedNotice);
      });
      assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
      process.kill(run.pid, 'SIGTERM');
      await endedWell(user, run);
    }, { wrapper });
    await assertClean(user);
  });

test('where the application lies on a read-only file system no release is downloaded',
  { skip: noMounts, timeout: 120_000 }, async (user, screen, t) => {
    const wrapper = mounting(
      'mount --bind "$1" "$1"\nmount -o remount,bind,ro "$1"', join(user.bundle, '..'));
    const begin = () => releaseRoutes('1.1', makeRelease(user));
    await withUpdateServer(user, screen, begin, async (server, routes, run) => {
      await waitFor('the silent check', () => server.requestsTo(manifest).length === 1);
      await underWatch(screen, run, t, {}, async () => {
        await screen.chooseApplicationItem(1);
        await waitFor('the check of the menu', () => server.requestsTo(manifest).length === 2);
        // Responses are handled in order: when its alert is shown, the others are done.
        Object.assign(routes, releaseRoutes('1.0'));
        await checkForUpdates(screen, upToDateNotice());
        assert.equal(server.requestsTo(archive).length, 0);
      });
      await user.quit(run);
    }, { wrapper });
    await assertClean(user);
  });
