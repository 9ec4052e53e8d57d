// A running application that finds a later release, takes it and starts again;
// and all that must not make it do so.

import assert from 'node:assert/strict';
import { renameSync, rmSync, symlinkSync } from 'node:fs';
import { join } from 'node:path';

import { OnlineServer } from './harness/online_server.mjs';
import { pageColour } from './harness/page.mjs';
import { entryOf, fingerprint, makeRelease, offer } from './harness/release.mjs';
import { trialsOn } from './harness/trial.mjs';
import { KEY } from './harness/user.mjs';
import { waitFor } from './harness/wait.mjs';

const { trial, keep } = trialsOn({ local: false });

const done = 'Orvel OS is bijgewerkt naar 1.1';
const newest = 'Orvel OS 1.0 is de nieuwste versie.';
const versionOf = (bundle) => entryOf(bundle, 'CFBundleShortVersionString');
const instances = (user) => user.processNamed('orvel-os');

/// Runs the application on a server of its own. `begin` gives what that answers
/// at first, once the application knows its address; `body` may change it.
async function online(user, screen, begin, body) {
  const routes = {};
  const server = await OnlineServer.open({ routes });
  try {
    user.setInformation({ ORVELOSURL: server.address, CFBundleShortVersionString: '1.0' });
    Object.assign(routes, begin());
    const run = user.start();
    await server.painted();
    await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
    await body(server, routes, run);
  } finally {
    server.close();
  }
}

/// Closes the notice that is open, and sees the old process go and one new one
/// show the page.
async function restart(user, screen, server, run) {
  await screen.keys('Return');
  assert.deepEqual((({ code, signal }) => ({ code, signal }))(await user.ended(run)),
    { code: 0, signal: null });
  await server.painted(2);
  const [next, ...others] = instances(user);
  assert.deepEqual(others, []);
  assert.notEqual(next.pid, run.pid);
  await screen.window();
  await screen.keys('ctrl+q');
  await waitFor('the end of the new process', () => instances(user).length === 0);
}

trial('a later release is taken in silence, four seconds after the start', {},
  async (user, screen) => {
    await online(user, screen, () => offer('1.1', makeRelease(user)), async (server, _, run) => {
      await screen.panel(done);
      await keep('update-done');
      const manifests = server.to('/download/linux.json');
      const archives = server.to('/download/orvel-os.zip');
      assert.equal(manifests.length, 1);
      assert.equal(archives.length, 1);
      for (const { headers } of [...manifests, ...archives]) {
        assert.equal(headers['x-orvel-app'], KEY);
      }
      assert.equal(manifests[0].headers['cache-control'], 'no-cache');
      assert.equal(versionOf(user.bundle), '1.1');
      await restart(user, screen, server, run);
      assert.equal(versionOf(user.bundle), '1.1');
    });
  });

trial('a later release is taken from the menu with one choice', {}, async (user, screen) => {
  await online(user, screen, () => offer('1.0'), async (server, routes, run) => {
    // The silent check finds nothing new.
    await waitFor('the silent check', () => server.to('/download/linux.json').length === 1);
    Object.assign(routes, offer('1.1', makeRelease(user)));
    await screen.chooseApplicationItem(1);
    await screen.panel(done);
    await restart(user, screen, server, run);
    assert.equal(versionOf(user.bundle), '1.1');
  });
});

const wrong = {
  'an archive that is cut short': (user) => makeRelease(user).subarray(0, 20_000),
  'an archive that is none': () => Buffer.from('<!doctype html><p>Niet hier</p>'),
  'a bundle of another name': (user) => makeRelease(user, {
    alter: (folder, bundle) => renameSync(bundle, join(folder, 'Orvel OS 1.1.app')),
  }),
  'a bundle of another application': (user) => makeRelease(user, { identity: 'nl.elders.os' }),
  'a link in place of the bundle': (user) => makeRelease(user, {
    alter: (folder, bundle) => {
      renameSync(bundle, join(folder, 'elders'));
      symlinkSync('elders', bundle);
    },
  }),
  'a bundle without information': (user) => makeRelease(user, {
    alter: (_, bundle) => rmSync(join(bundle, 'Contents/Info.plist')),
  }),
  'an answer that is no success': () => ({ status: 404, body: 'weg' }),
  'a connection that is cut': (user) => ({ body: makeRelease(user), cut: true }),
};

trial('a release that is not right changes nothing', { timeout: 180_000 },
  async (user, screen) => {
    await online(user, screen, () => offer('1.0'), async (server, routes) => {
      const before = fingerprint(user.bundle);
      const checks = () => server.to('/download/linux.json').length;
      await waitFor('the silent check', () => checks() === 1);
      for (const [what, archive] of Object.entries(wrong)) {
        const asked = server.to('/download/orvel-os.zip').length;
        Object.assign(routes, offer('1.1', archive(user)));
        await screen.chooseApplicationItem(1);
        await waitFor(`the request for ${what}`, () =>
          server.to('/download/orvel-os.zip').length > asked);
        // The next check is made when that installation has ended.
        Object.assign(routes, offer('1.0'));
        await screen.chooseApplicationItem(1);
        await screen.panel(newest);
        await keep('update-newest');
        await screen.keys('Return');
        await screen.panelGone(newest);
        await screen.managing(1);
        assert.equal(fingerprint(user.bundle), before, what);
      }
      await user.quit();
    });
  });

trial('a version that no folder can be named for runs no command', {}, async (user, screen) => {
  await online(user, screen, () => offer('1.0'), async (server, routes) => {
    const before = fingerprint(user.bundle);
    await waitFor('the silent check', () => server.to('/download/linux.json').length === 1);
    for (const versie of ["2.1'; touch buit; '", '2.1/../../../../buit', '2.1\0']) {
      const asked = server.to('/download/orvel-os.zip').length;
      Object.assign(routes, offer(versie, makeRelease(user)));
      await screen.chooseApplicationItem(1);
      await waitFor('the request for the archive', () =>
        server.to('/download/orvel-os.zip').length > asked);
      Object.assign(routes, offer('1.0'));
      await screen.chooseApplicationItem(1);
      await screen.panel(newest);
      await screen.keys('Return');
      await screen.panelGone(newest);
      await screen.managing(1);
      assert.equal(fingerprint(user.bundle), before);
    }
    await user.quit();
  });
});

trial('a server that tells of no release is said so to the user who asked', {},
  async (user, screen) => {
    const failed = 'Kon niet controleren op updates.';
    await online(user, screen, () => ({}), async (server) => {
      await waitFor('the silent check', () => server.to('/download/linux.json').length === 1);
      await screen.chooseApplicationItem(1);
      await screen.panel(failed);
      await keep('update-failed');
      await screen.keys('Return');
      await screen.panelGone(failed);
      await screen.managing(1);
      await user.quit();
    });
  });
