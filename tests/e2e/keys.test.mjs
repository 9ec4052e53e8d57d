// Keys, menus and the window, as a user with a keyboard meets them.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn();

trial("the editing keys work in the page's fields, each once", {}, async (user, screen) => {
  await user.startAndPaint();
  const fieldHolds = (text) =>
    waitFor(`"${text}" in the field`, () => user.root.told('veld').at(-1)?.value === text);

  for (const command of ['ctrl', 'super']) {
    await screen.keys('ctrl+a', 'BackSpace');
    await screen.type('aap');
    await fieldHolds('aap');
    await screen.setClipboard('iets anders');
    await screen.keys(`${command}+a`, `${command}+c`);
    await waitFor('the copied text', async () => (await screen.clipboard()) === 'aap');
    // A command does not wait for keys that the page has yet to see.
    const ends = user.root.told('einde').length;
    await screen.keys('End');
    await waitFor('the caret at the end', () => user.root.told('einde').length > ends);
    // The letter after it shows that the paste is over, and how often it was.
    await screen.keys(`${command}+v`, 'x');
    await fieldHolds('aapaapx');
    await screen.keys(`${command}+a`, `${command}+x`);
    await fieldHolds('');
    await waitFor('the cut text', async () => (await screen.clipboard()) === 'aapaapx');
    await screen.keys(`${command}+z`);
    await fieldHolds('aapaapx');
    await screen.keys(`${command}+shift+z`);
    await fieldHolds('');
  }
  await user.quit();
});

trial('full screen takes the whole screen and gives it back', {}, async (user, screen) => {
  await user.startAndPaint();
  const window = await screen.window();
  const { height } = screen.picture();
  const told = () => user.root.told('maat').at(-1)?.height ?? 0;
  for (const keys of ['F11', 'ctrl+super+f']) {
    await screen.keys(keys);
    await waitFor('a page as high as the screen', () => told() === height);
    assert.match(await screen.property(window, '_NET_WM_STATE'), /FULLSCREEN/);
    await screen.keys(keys);
    await waitFor('a page below the header bar', () => told() > 0 && told() < height);
    assert.doesNotMatch(await screen.property(window, '_NET_WM_STATE'), /FULLSCREEN/);
  }
  await user.quit();
});

trial('minimising and hiding take the window away; it comes back', {}, async (user, screen) => {
  await user.startAndPaint();
  const window = await screen.window();
  const state = async () => screen.property(window, 'WM_STATE');
  for (const keys of ['ctrl+m', 'ctrl+h']) {
    await screen.keys(keys);
    await waitFor('a minimised window', async () => /Iconic/.test(await state()));
    await screen.tool('xdotool', 'windowactivate', '--sync', window);
    await waitFor('a shown window', async () => /Normal/.test(await state()));
    await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
  }
  await user.quit();
});

trial('the menu opens, and About with it', { information: { CFBundleShortVersionString: '7.6.5' } },
  async (user, screen) => {
    await user.startAndPaint();
    const below = [100, 130];
    await waitFor('the page on the screen', () => screen.picture().shows(pageColour, ...below));
    await screen.keys('F10');
    await waitFor('an open menu', () => !screen.picture().shows(pageColour, ...below));
    await keep('menu');
    assert.equal(await screen.managedWindows(), 1);
    // Its first item is chosen already.
    await screen.keys('Return');
    await waitFor('the About dialog', async () => (await screen.managedWindows()) === 2);
    await waitFor('its picture', () => !screen.picture().shows(pageColour));
    await keep('about');
    await screen.keys('Escape');
    await waitFor('the end of the dialog', async () => (await screen.managedWindows()) === 1);

    // The keys work over the page as before.
    await screen.keys('ctrl+r');
    await user.root.painted(2);

    // And over the dialog: it does not stand in the way of quitting.
    await screen.keys('F10');
    await waitFor('an open menu', () => !screen.picture().shows(pageColour, ...below));
    await screen.keys('Return');
    await waitFor('the About dialog', async () => (await screen.managedWindows()) === 2);
    await user.quit();
  });
