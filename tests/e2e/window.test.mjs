// The window: editing keys, window states, and the menu bar in normal and full-screen mode.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { repeatUntil, waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

test('each editing key changes the focused field once', async (user, screen) => {
  await user.startAndShowPage();
  const fieldHas = (text) => user.localServer.awaitFieldText(text);
  const clipboardHas = (text) =>
    waitFor(`"${text}" on the clipboard`, async () => (await screen.clipboard()) === text);

  for (const command of ['ctrl', 'super']) {
    await screen.pressKeys('ctrl+a', 'BackSpace');
    await screen.type('abc');
    await fieldHas('abc');
    await screen.setClipboard('something else');
    await screen.pressKeys(`${command}+a`, `${command}+c`);
    await clipboardHas('abc');
    // The window may handle the next command before the page has handled earlier keys, so wait for
    // the page's report of the End key.
    const ends = user.localServer.reported('endKey').length;
    await screen.pressKeys('End');
    await user.localServer.awaitReport('endKey', ends + 1);
    // The letter ends the pasted text, so the field shows how often it was pasted.
    await screen.pressKeys(`${command}+v`, 'x');
    await fieldHas('abcabcx');
    await screen.pressKeys(`${command}+a`, `${command}+x`);
    await fieldHas('');
    await clipboardHas('abcabcx');
    await screen.pressKeys(`${command}+z`);
    await fieldHas('abcabcx');
    await screen.pressKeys(`${command}+shift+z`);
    await fieldHas('');
  }
});

/// Waits until the page no longer fills the screen.
const awaitHeaderBar = (user, screen) => waitFor('a page below the header bar', () =>
  user.localServer.reported('size').at(-1)?.height < screen.screenshot().height);

async function isFullScreen(screen, window) {
  const state = await screen.property(window ?? await screen.awaitWindow(), '_NET_WM_STATE');
  return /FULLSCREEN/.test(state);
}

test('a minimised or hidden window is shown when it is activated', async (user, screen) => {
  await user.startAndShowPage();
  const window = await screen.awaitWindow();
  const state = async () => screen.property(window, 'WM_STATE');
  // Control-M minimises the window. Control-H, which hides, does the same on Linux.
  for (const keys of ['ctrl+m', 'ctrl+h']) {
    await screen.pressKeys(keys);
    await waitFor('a minimised window', async () => /Iconic/.test(await state()));
    await screen.runTool('xdotool', 'windowactivate', '--sync', window);
    await waitFor('a shown window', async () => /Normal/.test(await state()));
    await screen.awaitPageOnScreen();
  }
});

/// The first menu of the menu bar.
const firstMenu = { role: 'menu item', name: 'Orvel OS' };

test('a double click on the header bar restores the window and maximises it again',
  async (user, screen) => {
    await user.startAndShowPage();
    const window = await screen.awaitWindow();
    const doubleClickHeaderBar = async () => {
      const { x, y, width } = await screen.geometry(window);
      const { extents } = await screen.accessibility.awaitWidget(firstMenu);
      // The header bar is empty in its middle.
      await screen.movePointer(x + width / 2, y + extents.y + extents.height / 2);
      await screen.runTool('xdotool', 'click', '--repeat', '2', '1');
    };
    for (const isMaximised of [false, true]) {
      // A click has no effect while the window still moves.
      await repeatUntil(`a window that is ${isMaximised ? '' : 'not '}maximised`,
        doubleClickHeaderBar, async () =>
          /MAXIMIZED/.test(await screen.property(window, '_NET_WM_STATE')) === isMaximised);
    }
  });

test('F10 opens the menu, whose first item opens the About dialog',
  { plist: { CFBundleShortVersionString: '7.6.5' } }, async (user, screen) => {
    await user.startAndShowPage();
    await screen.awaitPageOnScreen();
    const openAbout = async () => {
      await screen.openMenu();
      await screen.accessibility.awaitWidget({ name: 'Over Orvel OS', focused: true });
      await screen.pressKeys('Return');
      await screen.awaitWindowCount(2);
    };
    await openAbout();
    await screen.accessibility.awaitWidget({ role: 'label', name: '7.6.5' });
    // In the dialog the keys for reloading and quitting work, but F11 does not make a window full
    // screen.
    const dialog = await screen.awaitSecondWindow();
    await screen.pressKeys('F11', 'ctrl+r');
    await user.localServer.awaitPainted(2);
    assert.ok(!(await isFullScreen(screen, dialog)));
    await screen.pressKeys('Escape');
    await screen.awaitWindowCount(1);

    // The page has the focus again.
    await screen.pressKeys('ctrl+r');
    await user.localServer.awaitPainted(3);

    // The dialog does not block the Control-Q that ends each test.
    await openAbout();
  });

/// A position that only a page in full screen covers.
const topEdge = [700, 4];

/// Starts the application, switches full screen on by a key, and waits until the page fills the
/// screen.
async function startInFullScreen(user, screen, key) {
  await user.startAndShowPage();
  await screen.awaitWindow();
  // Away from the top edge, where the pointer shows the menu bar.
  await screen.movePointer(600, 500);
  await screen.pressKeys(key);
  await waitFor('full screen', () => isFullScreen(screen));
  await screen.awaitPageOnScreen(...topEdge);
}

/// A position that the menu bar covers while it is shown, to the right of its menus.
const menuBarPosition = [700, 20];
const isBarShown = (screen) => !screen.screenshot().shows(pageColour, ...menuBarPosition);
const awaitBarShown = (screen) => waitFor('the menu bar', () => isBarShown(screen));
const awaitBarHidden = (screen) => waitFor('a hidden menu bar', () => !isBarShown(screen));

test('full screen by F11: the pointer at the top edge shows the menu bar', async (user, screen) => {
  await startInFullScreen(user, screen, 'F11');
  const pageHeight = () => user.localServer.reported('size').at(-1).height;
  const screenHeight = screen.screenshot().height;
  assert.equal(pageHeight(), screenHeight);
  await screen.movePointer(700, 0);
  await awaitBarShown(screen);
  // The bar covers the page, which is not resized.
  assert.equal(pageHeight(), screenHeight);
  await screen.accessibility.click(await screen.awaitWindow(), firstMenu);
  await screen.awaitMenuOpen();
  // The bar stays while a menu is open, even with the pointer elsewhere.
  await screen.movePointer(700, 600);
  assert.ok(isBarShown(screen));
  await screen.pressKeys('Escape');
  await screen.awaitMenuClosed();
  await awaitBarHidden(screen);

  // The page has the focus again.
  await screen.type('abc');
  await user.localServer.awaitFieldText('abc');
  await screen.pressKeys('F11');
  await awaitHeaderBar(user, screen);
  assert.ok(!(await isFullScreen(screen)));
  await awaitBarShown(screen);
});

test('full screen by Control-Super-F: F10 shows a usable menu bar', async (user, screen) => {
  await startInFullScreen(user, screen, 'ctrl+super+f');
  const openMenu = async () => {
    await screen.pressKeys('F10');
    await screen.awaitMenuOpen();
    await awaitBarShown(screen);
  };
  for (let round = 1; round <= 2; round += 1) {
    await openMenu();
    await screen.pressKeys('Escape');
    await screen.awaitMenuClosed();
    await awaitBarHidden(screen);
  }
  await screen.type('abc');
  await user.localServer.awaitFieldText('abc');
  await openMenu();
  await repeatUntil('the menu "Weergave", which begins with "Herlaad"',
    () => screen.pressKeys('Right'),
    () => screen.accessibility.findWidget({ name: 'Herlaad', focused: true }), { interval: 1000 });
  // The second item is "Schermvullend".
  await screen.pressKeys('Down', 'Return');
  await awaitHeaderBar(user, screen);
});
