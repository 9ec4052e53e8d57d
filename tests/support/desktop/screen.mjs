// A virtual X11 screen, with or without a window manager, and the functions to use it: keyboard,
// mouse, windows, clipboard, pixels and the accessible widgets.

import assert from 'node:assert/strict';
import { execFile, spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { Framebuffer } from '../image.mjs';
import { Accessibility } from './accessibility.mjs';
import { pageColour } from './page.mjs';
import { isRunning } from './processes.mjs';
import { programTimeout, repeatUntil, waitFor } from './wait.mjs';

const run = promisify(execFile);

/// The title of the address dialog, which asks for the address of the server.
export const addressDialogTitle = 'Adres van het OS';

/// Replaces the name of a function key by its X11 key code, because with the name and xkb-data 2.48
/// xdotool presses Alt too. The code is the Linux input code plus 8: 67 to 76 for F1 to F10, 95 and
/// 96 for F11 and F12.
function withKeyCode(name) {
  return name.replace(/(?<=^|\+)F(\d+)$/, (_, number) =>
    String(Number(number) <= 10 ? 66 + Number(number) : 84 + Number(number)));
}

export class Screen {
  /// Starts Xvfb and, unless `windowManager` is false, openbox. With `accessibility` the screen has
  /// a member of that name, through which tests find the application's widgets.
  static async open({
    windowManager = true, accessibility = false, width = 1200, height = 800,
  } = {}) {
    const screen = new Screen();
    screen.folder = mkdtempSync(join(tmpdir(), 'orvel e2e screen '));
    const size = `${width}x${height}x24`;
    // "-r" turns off auto-repeat: on a busy machine xdotool may release a key so late that the X
    // server repeats it, without the modifiers, which xdotool releases first.
    const options = ['-screen', '0', size, '-fbdir', screen.folder, '-nocursor', '-noreset', '-r'];
    screen.xServer = spawn('Xvfb', ['-displayfd', '3', ...options, '-nolisten', 'tcp'], {
      stdio: ['ignore', 'ignore', 'ignore', 'pipe'],
    });
    const number = await new Promise((resolve, reject) => {
      screen.xServer.once('error', reject);
      screen.xServer.once('exit', () => reject(new Error('Xvfb did not start')));
      screen.xServer.stdio[3].once('data', (text) => resolve(String(text).trim()));
    });
    screen.framebuffer = new Framebuffer(join(screen.folder, 'Xvfb_screen0'));
    screen.environment = { PATH: process.env.PATH, HOME: screen.folder, DISPLAY: `:${number}` };
    if (windowManager) {
      screen.windowManager = spawn('openbox', [], { env: screen.environment, stdio: 'ignore' });
      await waitFor('a window manager', async () =>
        /window id/.test(await screen.runTool('xprop', '-root', '_NET_SUPPORTING_WM_CHECK')),
      );
    }
    if (accessibility) {
      try {
        screen.accessibility = await Accessibility.open(screen);
      } catch (error) {
        await screen.close();
        throw error;
      }
    }
    return screen;
  }

  get display() {
    return this.environment.DISPLAY;
  }

  async close() {
    await this.accessibility?.close();
    const children = this.terminate();
    await waitFor('the end of Xvfb and its tools', () =>
      children.every(({ pid }) => !isRunning(pid)));
    this.framebuffer.close();
    this.removeFolder();
  }

  /// Terminates Xvfb and the tools of the screen without waiting for their end, and returns them.
  terminate() {
    const children = [this.accessibility?.bus.process, this.windowCountWatcher, this.windowManager,
      this.xServer].filter(Boolean);
    for (const child of children) child.kill();
    return children;
  }

  removeFolder() {
    rmSync(this.folder, { recursive: true, force: true });
  }

  /// Runs a program on this screen and returns its trimmed output, or '' when the program fails,
  /// as xdotool does for a missing window.
  async runTool(name, ...args) {
    return (await this.runToolUntrimmed(name, ...args)).trim();
  }

  /// Does the same as runTool(), without trimming.
  async runToolUntrimmed(name, ...args) {
    try {
      return (await run(name, args, { env: this.environment, timeout: programTimeout })).stdout;
    } catch (error) {
      if (error.code === 'ENOENT') throw new Error(`${name} is not installed`);
      return '';
    }
  }

  /// Presses keys by their X11 names, with modifiers: `pressKeys('ctrl+a', 'F10')`.
  async pressKeys(...names) {
    await this.runTool('xdotool', 'key', '--clearmodifiers', ...names.map(withKeyCode));
  }

  async type(text) {
    await this.runTool('xdotool', 'type', '--delay', '15', text);
  }

  async click(x, y, { button = 1 } = {}) {
    await this.movePointer(x, y);
    await this.runTool('xdotool', 'click', String(button));
  }

  /// Moves the pointer to a position.
  async movePointer(x, y) {
    await this.runTool('xdotool', 'mousemove', String(Math.round(x)), String(Math.round(y)));
  }

  /// Returns the screen position of the middle of an element, by its ID and the page's reported
  /// layout. The window fills the screen, so the page's left and bottom edges are the screen's.
  positionOf(layout, id) {
    const [x, y] = layout.positions[id];
    return [x, y + this.screenshot().height - layout.height];
  }

  async clickElement(layout, id, options) {
    await this.click(...this.positionOf(layout, id), options);
  }

  /// Returns the IDs of the visible windows with this title, by default that of the main window.
  async windows(title = 'Orvel OS') {
    const name = `^${title.replace(/[.?*+()|[\]{}\\^$]/g, '\\$&')}$`;
    const found = await this.runTool('xdotool', 'search', '--onlyvisible', '--name', name);
    return found.split('\n').filter(Boolean);
  }

  /// Waits for the application's main window and returns its ID.
  async awaitWindow() {
    return waitFor('the main window', async () => (await this.windows())[0]);
  }

  /// Returns the position and size of a window, without the frame of the window manager.
  async geometry(window) {
    const text = await this.runTool('xwininfo', '-id', window);
    const [x, y, width, height] =
      ['Absolute upper-left X', 'Absolute upper-left Y', 'Width', 'Height'].map((name) =>
        Number(new RegExp(`${name}: +(-?\\d+)$`, 'm').exec(text)[1]));
    return { x, y, width, height };
  }

  /// Waits until there is one window beside the main one and it has the focus, and returns its ID.
  async awaitSecondWindow() {
    const main = await this.awaitWindow();
    return waitFor('a second window with the focus', async () => {
      if ((await this.windowCount()) !== 2) return null;
      const active = await this.runTool('xdotool', 'getactivewindow');
      return active !== '' && active !== main ? active : null;
    });
  }

  /// Returns the number of windows that the window manager manages.
  async windowCount() {
    const list = await this.runTool('xprop', '-root', '_NET_CLIENT_LIST');
    return (list.match(/0x/g) ?? []).length;
  }

  /// Waits until the window manager manages `count` windows.
  async awaitWindowCount(count) {
    await waitFor(`${count} windows`, async () => (await this.windowCount()) === count);
  }

  /// Starts to keep `maxWindowCount` up to date: the largest number of managed windows since a test
  /// has set it to 0.
  watchWindowCount() {
    this.maxWindowCount = 0;
    let incompleteLine = '';
    this.windowCountWatcher = spawn('xprop', ['-root', '-spy', '_NET_CLIENT_LIST'], {
      env: this.environment,
      stdio: ['ignore', 'pipe', 'ignore'],
    });
    this.windowCountWatcher.stdout.on('data', (chunk) => {
      const lines = (incompleteLine + chunk).split('\n');
      incompleteLine = lines.pop();
      for (const line of lines) {
        this.maxWindowCount = Math.max(this.maxWindowCount, line.match(/0x/g)?.length ?? 0);
      }
    });
  }

  /// Waits until a panel (a window with a message, a question or the address field) with this
  /// title has the focus, and returns its window ID.
  async awaitPanel(title) {
    return waitFor(`the panel "${title}" with the focus`, async () => {
      const [window] = await this.windows(title);
      const active = await this.runTool('xdotool', 'getactivewindow');
      return window !== undefined && window === active ? window : null;
    });
  }

  /// Waits until a panel is closed and another window has the focus.
  async awaitPanelClosed(title) {
    await waitFor(`a closed panel "${title}"`, async () => {
      if ((await this.windows(title)).length > 0) return false;
      return (await this.runTool('xdotool', 'getactivewindow', 'getwindowname')) !== '';
    });
  }

  /// Presses a key that closes a panel, and waits until only the main window is left.
  async closePanel(title, key = 'Return') {
    await this.pressKeys(key);
    await this.awaitPanelClosed(title);
    await this.awaitWindowCount(1);
  }

  async awaitMenuOpen() {
    await waitFor('an open menu', () => this.isMenuOpen());
  }

  async awaitMenuClosed() {
    await waitFor('a closed menu', async () => !(await this.isMenuOpen()));
  }

  /// Returns whether a menu is open. GTK titles the window of a menu with the application's ID.
  async isMenuOpen() {
    return (await this.windows('nl.orvel.os')).length > 0;
  }

  /// Opens the first menu of the menu bar, "Orvel OS", by F10. The key has no effect while the
  /// focus moves from one window to another, so it may be pressed more than once.
  async openMenu() {
    // A pointer over the menu would move the focus. This position is far from it.
    await this.movePointer(900, 700);
    // The key also closes the menu, so a slow menu gets much time to open before the next press.
    await repeatUntil('the menu', () => this.pressKeys('F10'), () => this.isMenuOpen(),
      { interval: 10_000 });
  }

  /// Chooses an item of the menu "Orvel OS" by the keyboard.
  async chooseApplicationMenuItem(name) {
    await this.awaitWindow();
    await this.openMenu();
    // A menu ignores keys before its first item has the focus.
    const items = await waitFor('a menu with the focus', async () => {
      const widgets = await this.accessibility.widgets();
      const first = widgets.findIndex(({ focused, role }) => focused && role === 'menu item');
      return first >= 0 && widgets.slice(first).filter(({ role }) => role === 'menu item');
    });
    const position = items.findIndex((item) => item.name === name);
    assert.ok(position >= 0, `the menu has no item "${name}"`);
    await this.pressKeys(...Array(position).fill('Down'), 'Return');
    await this.awaitMenuClosed();
  }

  async openAddressDialog() {
    await this.chooseApplicationMenuItem('Serveradres…');
    return this.awaitPanel(addressDialogTitle);
  }

  /// Opens the address dialog, replaces its text and closes it by a key.
  async answerAddressDialog(text, closingKey = 'Return') {
    await this.openAddressDialog();
    // The old text is selected. The new one is pasted, because some tests enter a tab, which
    // xdotool cannot type.
    await this.pressKeys('BackSpace');
    if (text !== '') {
      await this.setClipboard(text);
      await this.pressKeys('ctrl+v');
    }
    await this.pressKeys(closingKey);
    await this.awaitPanelClosed(addressDialogTitle);
  }

  /// Returns the X11 property of a window as xprop prints it.
  async property(window, name) {
    return this.runTool('xprop', '-id', window, name);
  }

  screenshot() {
    return this.framebuffer.screenshot();
  }

  /// Waits until the page's background is visible at a position, by default the middle of the
  /// screen.
  async awaitPageOnScreen(...position) {
    await waitFor('the page on the screen', () => this.screenshot().shows(pageColour, ...position));
  }

  async saveScreenshot(path) {
    await this.runTool('convert', `xwd:${join(this.folder, 'Xvfb_screen0')}`, path);
  }

  async clipboard() {
    return this.runToolUntrimmed('xclip', '-out', '-selection', 'clipboard');
  }

  /// Puts a text on the clipboard and waits until it is there.
  async setClipboard(text) {
    const child = spawn('xclip', ['-in', '-selection', 'clipboard'], {
      env: this.environment,
      stdio: ['pipe', 'ignore', 'ignore'],
    });
    child.stdin.end(text);
    await waitFor('the clipboard', async () => (await this.clipboard()) === text);
  }

  /// Waits until the text of the shown page, copied by the keyboard, satisfies a predicate, and
  /// returns it.
  async awaitPageText(isExpected) {
    await this.awaitWindow();
    await this.setClipboard('nothing copied yet');
    let text;
    await waitFor('the expected text of the page', async () => {
      await this.pressKeys('ctrl+a', 'ctrl+c');
      // The number of line feeds between two blocks differs between versions of WebKit.
      text = (await this.clipboard()).trim().replace(/\n+/g, '\n');
      return isExpected(text);
    }, { every: 100 }).catch((error) => {
      throw new Error(`${error.message}; the page has: ${JSON.stringify(text)}`);
    });
    return text;
  }
}
