// A screen without a window manager, as kiosks and other virtual screens have.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests({ windowManager: false });

test('the window shows the page and takes the keys', {}, async (user, screen) => {
  await user.startAndShowPage();
  await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  await saveScreenshot('bare-screen');
  const { width, height } = screen.screenshot();
  assert.equal(user.root.reported('painted')[0].width, width, 'the window fills the screen');
  assert.ok(user.root.reported('painted')[0].height > height - 80);

  // Without a manager the window under the pointer has the keyboard.
  await screen.tool('xdotool', 'mousemove', '600', '400');
  await screen.type('aap');
  await waitFor('the letters in the field', () => user.root.reported('field').at(-1)?.value === 'aap');
  await screen.pressKeys('ctrl+r');
  await user.root.awaitPainted(2);
  const { code, signal } = await user.quit();
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
});
