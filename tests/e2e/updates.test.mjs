// A running application that finds a later release, takes it and starts again.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { plistValue, makeRelease, releaseRoutes } from '../support/desktop/release.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import {
  checkForUpdates, upToDateNotice, withUpdateServer, quitRestarted, acceptRestart, startAndShowPage, updatedNotice,
} from '../support/desktop/updates.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests({ usesPort: false });

const versionOf = (bundle) => plistValue(bundle, 'CFBundleShortVersionString');

/// The picture of the About dialog, once nothing in it changes any more.
async function aboutPicture(screen) {
  await screen.chooseApplicationItem(0);
  await screen.awaitWindowCount(2);
  const window = await waitFor('the About dialog', async () => {
    const active = await screen.tool('xdotool', 'getactivewindow');
    return (await screen.windows()).includes(active) ? null : active;
  });
  const geometry = await screen.tool('xdotool', 'getwindowgeometry', '--shell', window);
  const [x, y, width, height] = ['X', 'Y', 'WIDTH', 'HEIGHT'].map((name) =>
    Number(new RegExp(`^${name}=(\\d+)$`, 'm').exec(geometry)[1]));
  let before;
  return waitFor('a picture of the About dialog', () => {
    const now = screen.screenshot().region({ x, y, width, height });
    const settled = now === before && !screen.screenshot().shows(pageColour);
    before = now;
    return settled && now;
  }, { every: 200 });
}

test('a later release is taken in silence, four seconds after the start', {},
  async (user, screen) => {
    await withUpdateServer(user, screen, () => releaseRoutes('1.1', makeRelease(user)), async (server, _, run) => {
      await screen.awaitPanel(updatedNotice);
      await saveScreenshot('update-done');
      const manifests = server.requestsTo('/download/linux.json');
      const archives = server.requestsTo('/download/orvel-os.zip');
      assert.equal(manifests.length, 1);
      assert.equal(archives.length, 1);
      for (const { headers } of [...manifests, ...archives]) {
        assert.equal(headers['x-orvel-app'], KEY);
      }
      assert.equal(manifests[0].headers['cache-control'], 'no-cache');
      assert.equal(versionOf(user.bundle), '1.1');
      await acceptRestart(user, screen, server, run);
      await quitRestarted(user, screen);
      assert.equal(versionOf(user.bundle), '1.1');
    });
  });

test('a later release is taken from the menu with one choice', {}, async (user, screen) => {
  await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
    // The silent check finds nothing new.
    await waitFor('the silent check', () => server.requestsTo('/download/linux.json').length === 1);
    Object.assign(routes, releaseRoutes('1.1', makeRelease(user)));
    await screen.chooseApplicationItem(1);
    await screen.awaitPanel(updatedNotice);
    await acceptRestart(user, screen, server, run);
    await quitRestarted(user, screen);
    assert.equal(versionOf(user.bundle), '1.1');
  });
});

test('what starts again says that it is the new one', { timeout: 90_000 },
  async (user, screen) => {
    const closeAbout = async () => {
      await screen.pressKeys('Escape');
      await screen.awaitWindowCount(1);
    };
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
      const old = await aboutPicture(screen);
      await saveScreenshot('about-old');
      await closeAbout();
      await user.quit(run);
      // What a 1.1 that was always there looks like.
      user.setPlistValues({ CFBundleShortVersionString: '1.1' });
      const example = await startAndShowPage(user, screen, server);
      const expected = await aboutPicture(screen);
      await closeAbout();
      await user.quit(example);
      assert.notEqual(expected, old);

      user.setPlistValues({ CFBundleShortVersionString: '1.0' });
      const checks = server.requestsTo('/download/linux.json').length;
      const second = await startAndShowPage(user, screen, server);
      // A slow start may end after this check, which then misses the release.
      await waitFor('the silent check', () => server.requestsTo('/download/linux.json').length > checks);
      Object.assign(routes, releaseRoutes('1.1', makeRelease(user)));
      await screen.chooseApplicationItem(1);
      await screen.awaitPanel(updatedNotice);
      await acceptRestart(user, screen, server, second);
      await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
      assert.equal(await aboutPicture(screen), expected);
      await saveScreenshot('about-new');
      await closeAbout();
      // It is content with what it is, and takes nothing a second time.
      const taken = server.requestsTo('/download/orvel-os.zip').length;
      await checkForUpdates(screen, upToDateNotice('1.1'));
      assert.equal(server.requestsTo('/download/orvel-os.zip').length, taken);
      await quitRestarted(user, screen);
    });
  });

test('a server that tells of no release is said so to the user who asked', {},
  async (user, screen) => {
    const failed = 'Kon niet controleren op updates.';
    await withUpdateServer(user, screen, () => ({}), async (server) => {
      await waitFor('the silent check', () => server.requestsTo('/download/linux.json').length === 1);
      await screen.chooseApplicationItem(1);
      await screen.awaitPanel(failed);
      await saveScreenshot('update-failed');
      await screen.pressKeys('Return');
      await screen.awaitPanelClosed(failed);
      await screen.awaitWindowCount(1);
      await user.quit();
    });
  });
