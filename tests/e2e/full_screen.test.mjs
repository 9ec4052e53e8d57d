// The menu bar in full screen, and the window size after changes of the monitor.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

async function enterFullScreen(user, screen) {
  await user.startAndShowPage();
  const window = await screen.awaitWindow();
  await screen.tool('xdotool', 'mousemove', '600', '500');
  await screen.pressKeys('F11');
  await waitFor('full screen', async () =>
    /FULLSCREEN/.test(await screen.property(window, '_NET_WM_STATE')));
  await waitFor('the page at the top edge', () => screen.screenshot().shows(pageColour, 700, 4));
  return window;
}

const barShown = (screen) => !screen.screenshot().shows(pageColour, 700, 20);

test('in full screen the pointer at the top edge shows the menu bar', {},
  async (user, screen) => {
    const window = await enterFullScreen(user, screen);
    const told = () => user.root.reported('size').at(-1).height;
    assert.equal(told(), screen.screenshot().height);
    await screen.tool('xdotool', 'mousemove', '700', '0');
    await waitFor('the menu bar', () => barShown(screen));
    // The bar lies over the page, which keeps its size.
    assert.equal(told(), screen.screenshot().height);
    await saveScreenshot('full-screen-bar');
    await screen.click(40, 18);
    await screen.awaitMenu();
    await saveScreenshot('full-screen-menu');
    // The bar stays while a menu is open, even with the pointer elsewhere.
    await screen.tool('xdotool', 'mousemove', '700', '600');
    await screen.pressKeys('Escape');
    await screen.awaitMenu(false);
    await waitFor('the end of the menu bar', () => !barShown(screen));

    // The page has the focus again.
    await screen.type('aap');
    await waitFor('the letters in the field', () => user.root.reported('field').at(-1)?.value === 'aap');
    await screen.pressKeys('F11');
    await waitFor('a page below the header bar', () => told() < screen.screenshot().height);
    assert.doesNotMatch(await screen.property(window, '_NET_WM_STATE'), /FULLSCREEN/);
    await waitFor('the header bar', () => barShown(screen));
    await user.quit();
  });

test('in full screen F10 opens the menu, whose commands work', {}, async (user, screen) => {
  await enterFullScreen(user, screen);
  for (let round = 1; round <= 2; round += 1) {
    await screen.pressKeys('F10');
    await screen.awaitMenu();
    await waitFor('the menu bar', () => barShown(screen));
    await saveScreenshot('full-screen-f10');
    await screen.pressKeys('Escape');
    await screen.awaitMenu(false);
    await waitFor('the end of the menu bar', () => !barShown(screen));
  }
  await screen.type('aap');
  await waitFor('the letters in the field', () => user.root.reported('field').at(-1)?.value === 'aap');
  await screen.pressKeys('F10');
  await screen.awaitMenu();
  // Right to "Weergave", whose second item is "Schermvullend". The keyboard is
  // there a moment after the menu: the item is lit up.
  const lit = (x, y) =>
    waitFor(`a lit item at ${x}, ${y}`, () => screen.screenshot().pixel(x, y)[2] > 60);
  await lit(15, 61);
  await screen.pressKeys('Right');
  await lit(205, 61);
  await screen.pressKeys('Right');
  await lit(305, 61);
  await screen.pressKeys('Down');
  await lit(305, 91);
  await screen.pressKeys('Return');
  await waitFor('a page below the header bar', () =>
    user.root.reported('size').at(-1).height < screen.screenshot().height);
  await user.quit();
});
