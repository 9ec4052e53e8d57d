// Keys, menus and the window, as a user with a keyboard meets them.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

test("the editing keys work in the page's fields, each once", {}, async (user, screen) => {
  await user.startAndShowPage();
  const fieldHolds = (text) =>
    waitFor(`"${text}" in the field`, () => user.root.reported('field').at(-1)?.value === text);

  for (const command of ['ctrl', 'super']) {
    await screen.pressKeys('ctrl+a', 'BackSpace');
    await screen.type('aap');
    await fieldHolds('aap');
    await screen.setClipboard('iets anders');
    await screen.pressKeys(`${command}+a`, `${command}+c`);
    await waitFor('the copied text', async () => (await screen.clipboard()) === 'aap');
    // A command does not wait for keys that the page has yet to see.
    const ends = user.root.reported('endKey').length;
    await screen.pressKeys('End');
    await waitFor('the caret at the end', () => user.root.reported('endKey').length > ends);
    // The letter after it shows that the paste is over, and how often it was.
    await screen.pressKeys(`${command}+v`, 'x');
    await fieldHolds('aapaapx');
    await screen.pressKeys(`${command}+a`, `${command}+x`);
    await fieldHolds('');
    await waitFor('the cut text', async () => (await screen.clipboard()) === 'aapaapx');
    await screen.pressKeys(`${command}+z`);
    await fieldHolds('aapaapx');
    await screen.pressKeys(`${command}+shift+z`);
    await fieldHolds('');
  }
  await user.quit();
});

test('full screen takes the whole screen and gives it back', {}, async (user, screen) => {
  await user.startAndShowPage();
  const window = await screen.awaitWindow();
  const { height } = screen.screenshot();
  const told = () => user.root.reported('size').at(-1)?.height ?? 0;
  for (const keys of ['F11', 'ctrl+super+f']) {
    await screen.pressKeys(keys);
    await waitFor('a page as high as the screen', () => told() === height);
    assert.match(await screen.property(window, '_NET_WM_STATE'), /FULLSCREEN/);
    await screen.pressKeys(keys);
    await waitFor('a page below the header bar', () => told() > 0 && told() < height);
    assert.doesNotMatch(await screen.property(window, '_NET_WM_STATE'), /FULLSCREEN/);
  }
  await user.quit();
});

test('minimising and hiding take the window away; it comes back', {}, async (user, screen) => {
  await user.startAndShowPage();
  const window = await screen.awaitWindow();
  const state = async () => screen.property(window, 'WM_STATE');
  for (const keys of ['ctrl+m', 'ctrl+h']) {
    await screen.pressKeys(keys);
    await waitFor('a minimised window', async () => /Iconic/.test(await state()));
    await screen.tool('xdotool', 'windowactivate', '--sync', window);
    await waitFor('a shown window', async () => /Normal/.test(await state()));
    await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  }
  await user.quit();
});

test('the menu opens, and About with it', { plist: { CFBundleShortVersionString: '7.6.5' } },
  async (user, screen) => {
    await user.startAndShowPage();
    const below = [100, 130];
    await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour, ...below));
    await screen.pressKeys('F10');
    await waitFor('an open menu', () => !screen.screenshot().shows(pageColour, ...below));
    await saveScreenshot('menu');
    assert.equal(await screen.windowCount(), 1);
    // Its first item is chosen already.
    await screen.pressKeys('Return');
    await waitFor('the About dialog', async () => (await screen.windowCount()) === 2);
    await waitFor('its picture', () => !screen.screenshot().shows(pageColour));
    await saveScreenshot('about');
    await screen.pressKeys('Escape');
    await waitFor('the end of the dialog', async () => (await screen.windowCount()) === 1);

    // The keys work over the page as before.
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(2);

    // And over the dialog: it does not stand in the way of quitting.
    await screen.pressKeys('F10');
    await waitFor('an open menu', () => !screen.screenshot().shows(pageColour, ...below));
    await screen.pressKeys('Return');
    await waitFor('the About dialog', async () => (await screen.windowCount()) === 2);
    await user.quit();
  });
