// The menu bar in full screen, and the window size after changes of the monitor.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn();

async function enterFullScreen(user, screen) {
  await user.startAndPaint();
  const window = await screen.window();
  await screen.tool('xdotool', 'mousemove', '600', '500');
  await screen.keys('F11');
  await waitFor('full screen', async () =>
    /FULLSCREEN/.test(await screen.property(window, '_NET_WM_STATE')));
  await waitFor('the page at the top edge', () => screen.picture().shows(pageColour, 700, 4));
  return window;
}

const barShown = (screen) => !screen.picture().shows(pageColour, 700, 20);

trial('in full screen the pointer at the top edge shows the menu bar', {},
  async (user, screen) => {
    const window = await enterFullScreen(user, screen);
    const told = () => user.root.told('maat').at(-1).height;
    assert.equal(told(), screen.picture().height);
    await screen.tool('xdotool', 'mousemove', '700', '0');
    await waitFor('the menu bar', () => barShown(screen));
    // The bar lies over the page, which keeps its size.
    assert.equal(told(), screen.picture().height);
    await keep('full-screen-bar');
    await screen.click(40, 18);
    await screen.menu();
    await keep('full-screen-menu');
    // The bar stays while a menu is open, even with the pointer elsewhere.
    await screen.tool('xdotool', 'mousemove', '700', '600');
    await screen.keys('Escape');
    await screen.menu(false);
    await waitFor('the end of the menu bar', () => !barShown(screen));

    // The page has the focus again.
    await screen.type('aap');
    await waitFor('the letters in the field', () => user.root.told('veld').at(-1)?.value === 'aap');
    await screen.keys('F11');
    await waitFor('a page below the header bar', () => told() < screen.picture().height);
    assert.doesNotMatch(await screen.property(window, '_NET_WM_STATE'), /FULLSCREEN/);
    await waitFor('the header bar', () => barShown(screen));
    await user.quit();
  });

trial('in full screen F10 opens the menu, whose commands work', {}, async (user, screen) => {
  await enterFullScreen(user, screen);
  for (let round = 1; round <= 2; round += 1) {
    await screen.keys('F10');
    await screen.menu();
    await waitFor('the menu bar', () => barShown(screen));
    await keep('full-screen-f10');
    await screen.keys('Escape');
    await screen.menu(false);
    await waitFor('the end of the menu bar', () => !barShown(screen));
  }
  await screen.type('aap');
  await waitFor('the letters in the field', () => user.root.told('veld').at(-1)?.value === 'aap');
  await screen.keys('F10');
  await screen.menu();
  // Right to "Weergave", whose second item is "Schermvullend". The keyboard is
  // there a moment after the menu: the item is lit up.
  const lit = (x, y) =>
    waitFor(`a lit item at ${x}, ${y}`, () => screen.picture().at(x, y)[2] > 60);
  await lit(15, 61);
  await screen.keys('Right');
  await lit(205, 61);
  await screen.keys('Right');
  await lit(305, 61);
  await screen.keys('Down');
  await lit(305, 91);
  await screen.keys('Return');
  await waitFor('a page below the header bar', () =>
    user.root.told('maat').at(-1).height < screen.picture().height);
  await user.quit();
});
