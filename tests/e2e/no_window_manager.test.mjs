// Every function, editing and navigation key, with every modifier: on a screen
// without a window manager, so that all of them reach the application.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ windowManager: false });

const keys = [
  ...Array.from({ length: 12 }, (_, index) => `F${index + 1}`),
  'BackSpace', 'Delete', 'Insert', 'Tab', 'Return', 'KP_Enter', 'space', 'Escape', 'Menu',
  'Home', 'End', 'Prior', 'Next', 'Left', 'Right', 'Up', 'Down',
];
const modifiers = ['', 'shift', 'ctrl', 'alt', 'super'];

/// Longer than one blink of the caret: GTK 4.8 aborts at a blink.
const blinkMilliseconds = 3000;

const page = (field) => `${field}<script>
  addEventListener('keydown', ({ key }) => {
    report('toets', { key });
    if (key === 'F7') setTimeout(() => report('geknipperd'), ${blinkMilliseconds});
  });
</script>`;

for (const [where, field] of Object.entries({
  'in a text field': '<input id="field" autocomplete="off" value="abc">',
  'in a text area': '<textarea id="field">abc</textarea>',
  'on the page': '',
})) {
  test(`the application survives every key ${where}`, { timeout: 300_000 },
    async (user, screen) => {
      const painted = await user.startWithPage(page(field));
      // Without a window manager the window under the pointer has the focus.
      const place = field ? screen.positionOf(painted, 'field') : [900, 700];
      await screen.click(...place);
      const told = (matches) => user.root.reported('toets').filter(matches).length;

      /// Moves the focus back to the page and waits until the page gets a letter. Some
      /// keys move the focus to the header bar or a menu.
      const pageHasTheKeyboard = async (after) => {
        const before = told(({ key }) => key === 'q');
        await waitFor(`the keyboard on the page after ${after}`, async () => {
          await screen.pressKeys('Escape');
          await screen.click(...place);
          await screen.pressKeys('q');
          return told(({ key }) => key === 'q') > before;
        }, { every: 100 });
      };
      for (const key of keys) {
        for (const modifier of modifiers) {
          const pressed = modifier ? `${modifier}+${key}` : key;
          await screen.pressKeys(pressed);
          // Closes the menu that some keys open.
          await screen.pressKeys('Escape');
        }
        await pageHasTheKeyboard(key);
      }
      assert.equal(told(({ key }) => key === 'F7'), modifiers.length, 'the page gets every F7');
      await waitFor('the blinks after each F7', () =>
        user.root.reported('geknipperd').length === modifiers.length);
      await user.quit();
    });
}
