// A screen without a window manager, as kiosks and other virtual screens have.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn({ windowManager: false });

trial('the window shows the page and takes the keys', {}, async (user, screen) => {
  await user.startAndPaint();
  await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
  await keep('bare-screen');
  const { width, height } = screen.picture();
  assert.equal(user.root.told('getoond')[0].width, width, 'the window fills the screen');
  assert.ok(user.root.told('getoond')[0].height > height - 80);

  // Without a manager the window under the pointer has the keyboard.
  await screen.tool('xdotool', 'mousemove', '600', '400');
  await screen.type('aap');
  await waitFor('the letters in the field', () => user.root.told('veld').at(-1)?.value === 'aap');
  await screen.keys('ctrl+r');
  await user.root.painted(2);
  const { code, signal } = await user.quit();
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
});
