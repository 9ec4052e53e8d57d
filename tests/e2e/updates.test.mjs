// A running application that finds a later release, takes it and starts again.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { entryOf, makeRelease, offer } from '../support/desktop/release.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import {
  askAndClose, newest, online, quitLast, restart, start, updated,
} from '../support/desktop/update.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn({ local: false });

const versionOf = (bundle) => entryOf(bundle, 'CFBundleShortVersionString');

/// The picture of the About dialog, once nothing in it changes any more.
async function aboutPicture(screen) {
  await screen.chooseApplicationItem(0);
  await screen.managing(2);
  const window = await waitFor('the About dialog', async () => {
    const active = await screen.tool('xdotool', 'getactivewindow');
    return (await screen.windows()).includes(active) ? null : active;
  });
  const geometry = await screen.tool('xdotool', 'getwindowgeometry', '--shell', window);
  const [x, y, width, height] = ['X', 'Y', 'WIDTH', 'HEIGHT'].map((name) =>
    Number(new RegExp(`^${name}=(\\d+)$`, 'm').exec(geometry)[1]));
  let before;
  return waitFor('a picture of the About dialog', () => {
    const now = screen.picture().part({ x, y, width, height });
    const settled = now === before && !screen.picture().shows(pageColour);
    before = now;
    return settled && now;
  }, { every: 200 });
}

trial('a later release is taken in silence, four seconds after the start', {},
  async (user, screen) => {
    await online(user, screen, () => offer('1.1', makeRelease(user)), async (server, _, run) => {
      await screen.panel(updated);
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
      await quitLast(user, screen);
      assert.equal(versionOf(user.bundle), '1.1');
    });
  });

trial('a later release is taken from the menu with one choice', {}, async (user, screen) => {
  await online(user, screen, () => offer('1.0'), async (server, routes, run) => {
    // The silent check finds nothing new.
    await waitFor('the silent check', () => server.to('/download/linux.json').length === 1);
    Object.assign(routes, offer('1.1', makeRelease(user)));
    await screen.chooseApplicationItem(1);
    await screen.panel(updated);
    await restart(user, screen, server, run);
    await quitLast(user, screen);
    assert.equal(versionOf(user.bundle), '1.1');
  });
});

trial('what starts again says that it is the new one', { timeout: 90_000 },
  async (user, screen) => {
    const closeAbout = async () => {
      await screen.keys('Escape');
      await screen.managing(1);
    };
    await online(user, screen, () => offer('1.0'), async (server, routes, run) => {
      const old = await aboutPicture(screen);
      await keep('about-old');
      await closeAbout();
      await user.quit(run);
      // What a 1.1 that was always there looks like.
      user.setInformation({ CFBundleShortVersionString: '1.1' });
      const example = await start(user, screen, server);
      const expected = await aboutPicture(screen);
      await closeAbout();
      await user.quit(example);
      assert.notEqual(expected, old);

      user.setInformation({ CFBundleShortVersionString: '1.0' });
      const checks = server.to('/download/linux.json').length;
      const second = await start(user, screen, server);
      // A slow start may end after this check, which then misses the release.
      await waitFor('the silent check', () => server.to('/download/linux.json').length > checks);
      Object.assign(routes, offer('1.1', makeRelease(user)));
      await screen.chooseApplicationItem(1);
      await screen.panel(updated);
      await restart(user, screen, server, second);
      await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
      assert.equal(await aboutPicture(screen), expected);
      await keep('about-new');
      await closeAbout();
      // It is content with what it is, and takes nothing a second time.
      const taken = server.to('/download/orvel-os.zip').length;
      await askAndClose(screen, newest('1.1'));
      assert.equal(server.to('/download/orvel-os.zip').length, taken);
      await quitLast(user, screen);
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
