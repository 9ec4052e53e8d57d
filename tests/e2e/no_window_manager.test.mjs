// The application on a screen without a window manager, as kiosks have. Every key press reaches
// it, because no window manager grabs keys.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ windowManager: false });

const maxHeaderBarHeight = 80;

test('the window fills the screen and gets the keys', async (user, screen) => {
  await user.startAndShowPage();
  await screen.awaitPageOnScreen();
  const { width, height } = screen.screenshot();
  const [layout] = user.localServer.reported('painted');
  assert.equal(layout.width, width);
  assert.ok(layout.height > height - maxHeaderBarHeight);

  // Without a window manager the window under the pointer has the focus.
  await screen.movePointer(600, 400);
  await screen.type('abc');
  await user.localServer.awaitFieldText('abc');
  await screen.pressKeys('ctrl+r');
  await user.localServer.awaitPainted(2);
});

const keys = [
  ...Array.from({ length: 12 }, (_, index) => `F${index + 1}`),
  'BackSpace', 'Delete', 'Insert', 'Tab', 'Return', 'KP_Enter', 'space', 'Escape', 'Menu',
  'Home', 'End', 'Prior', 'Next', 'Left', 'Right', 'Up', 'Down',
];
const modifiers = ['', 'shift+', 'ctrl+', 'alt+', 'super+'];

/// Longer than one blink of a cursor. If the application did not handle F7, this key would hide the
/// cursor of the hidden GtkTextView in which WebKit composes input, and GTK 4.8 would abort at the
/// next blink.
const blinkMilliseconds = 3000;

/// Returns a page that reports each key, and reports "blinked" some time after F7.
const keyReportingPage = (field) => `${field}<script>
  addEventListener('keydown', ({ key }) => {
    report('key', { key });
    if (key === 'F7') setTimeout(() => report('blinked'), ${blinkMilliseconds});
  });
</script>`;

for (const [where, field] of Object.entries({
  'in a text field': '<input id="field" autocomplete="off" value="abc">',
  'in a text area': '<textarea id="field">abc</textarea>',
  'on the page': '',
})) {
  test(`every key with every modifier ${where} leaves the application usable`,
    async (user, screen) => {
      const layout = await user.startWithPage(keyReportingPage(field));
      const position = field ? screen.positionOf(layout, 'field') : [900, 700];
      await screen.click(...position);
      const count = (name) =>
        user.localServer.reported('key').filter(({ key }) => key === name).length;

      /// Moves the focus back to the page, since some keys move it to the header bar or a menu,
      /// and waits until the page gets a letter.
      const focusPage = async (after) => {
        const before = count('q');
        await waitFor(`the focus on the page after ${after}`, async () => {
          const [x, y] = position.map((each) => String(Math.round(each)));
          // One xdotool process is faster than four.
          await screen.runTool('xdotool',
            'key', 'Escape', 'mousemove', x, y, 'click', '1', 'key', 'q');
          return count('q') > before;
        }, { every: 100 });
      };
      for (const key of keys) {
        // Escape closes a menu that the key may have opened.
        await screen.pressKeys(...modifiers.flatMap((modifier) => [modifier + key, 'Escape']));
        await focusPage(key);
      }
      assert.equal(count('F7'), modifiers.length, 'the page gets every F7');
      await user.localServer.awaitReport('blinked', modifiers.length);
    });
}
