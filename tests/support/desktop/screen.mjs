// A virtual X11 screen, with or without a window manager, and the functions to use it: keyboard,
// mouse, windows, clipboard and pixels.

import { execFile, spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { Framebuffer } from '../image.mjs';
import { pageColour } from './page.mjs';
import { isRunning, kill } from './processes.mjs';
import { programTimeout, repeatUntil, waitFor } from './wait.mjs';

const run = promisify(execFile);

/// The title of the dialog for the server's address.
export const addressTitle = 'Adres van het OS';

/// Replaces the name of a function key by its key code (Linux input code plus 8). With the
/// names of xkb-data 2.48, xdotool would press Alt as well.
function withKeyCode(name) {
  return name.replace(/(?<=^|\+)F(\d+)$/, (_, number) =>
    String(Number(number) <= 10 ? 66 + Number(number) : 84 + Number(number)));
}

export class Screen {
  /// Starts Xvfb and, unless `windowManager` is false, openbox.
  static async open({ windowManager = true, width = 1200, height = 800 } = {}) {
    const screen = new Screen();
    screen.folder = mkdtempSync(join(tmpdir(), 'orvel e2e screen '));
    const size = `${width}x${height}x24`;
    const options = ['-screen', '0', size, '-fbdir', screen.folder, '-nocursor', '-noreset'];
    screen.server = spawn('Xvfb', ['-displayfd', '3', ...options, '-nolisten', 'tcp'], {
      stdio: ['ignore', 'ignore', 'ignore', 'pipe'],
    });
    const number = await new Promise((resolve, reject) => {
      screen.server.once('error', reject);
      screen.server.once('exit', () => reject(new Error('Xvfb did not start')));
      screen.server.stdio[3].once('data', (text) => resolve(String(text).trim()));
    });
    screen.framebuffer = new Framebuffer(join(screen.folder, 'Xvfb_screen0'));
    screen.environment = { PATH: process.env.PATH, HOME: screen.folder, DISPLAY: `:${number}` };
    if (windowManager) {
      screen.manager = spawn('openbox', [], { env: screen.environment, stdio: 'ignore' });
      await waitFor('a window manager', async () =>
        /window id/.test(await screen.tool('xprop', '-root', '_NET_SUPPORTING_WM_CHECK')),
      );
    }
    return screen;
  }

  get display() {
    return this.environment.DISPLAY;
  }

  async close() {
    const children = this.end();
    await waitFor('the end of the screen', () => children.every(({ pid }) => !isRunning(pid)));
    this.framebuffer.close();
    rmSync(this.folder, { recursive: true, force: true });
  }

  /// Terminates the screen's processes without waiting for them, and returns them.
  end() {
    const children = [this.windowWatch, this.manager, this.server].filter(Boolean);
    for (const child of children) kill(child.pid, 'SIGTERM');
    return children;
  }

  /// Runs a tool on this screen and returns its trimmed output, or '' when the tool fails, as
  /// xdotool does for a missing window.
  async tool(name, ...args) {
    return (await this.output(name, ...args)).trim();
  }

  /// Does the same as tool(), without trimming.
  async output(name, ...args) {
    try {
      return (await run(name, args, { env: this.environment, timeout: programTimeout })).stdout;
    } catch (error) {
      if (error.code === 'ENOENT') throw new Error(`${name} is not installed`);
      return '';
    }
  }

  /// Presses keys by their X11 names, with modifiers: `pressKeys('ctrl+a', 'F10')`.
  async pressKeys(...names) {
    await this.tool('xdotool', 'key', '--clearmodifiers', ...names.map(withKeyCode));
  }

  async type(text) {
    await this.tool('xdotool', 'type', '--delay', '15', text);
  }

  async click(x, y, { button = 1 } = {}) {
    await this.movePointer(x, y);
    await this.tool('xdotool', 'click', String(button));
  }

  /// Moves the pointer to a position.
  async movePointer(x, y) {
    await this.tool('xdotool', 'mousemove', String(Math.round(x)), String(Math.round(y)));
  }

  /// Returns the screen position of an element by the page's reported layout. The page's bottom
  /// edge is that of the screen.
  positionOf(layout, id) {
    const [x, y] = layout.positions[id];
    return [x, y + this.screenshot().height - layout.height];
  }

  async clickElement(layout, id, options) {
    await this.click(...this.positionOf(layout, id), options);
  }

  async hoverElement(layout, id) {
    await this.movePointer(...this.positionOf(layout, id));
  }

  /// Returns the IDs of the visible windows with this title.
  async windows(title = 'Orvel OS') {
    const name = `^${title.replace(/[.?*+()|[\]{}\\^$]/g, '\\$&')}$`;
    const found = await this.tool('xdotool', 'search', '--onlyvisible', '--name', name);
    return found.split('\n').filter(Boolean);
  }

  /// Waits for the application's window and returns its ID.
  async awaitWindow() {
    return waitFor('the window', async () => (await this.windows())[0]);
  }

  /// Returns the position and size of a window, without the frame of the window manager.
  async geometry(window) {
    const text = await this.tool('xwininfo', '-id', window);
    const [x, y, width, height] =
      ['Absolute upper-left X', 'Absolute upper-left Y', 'Width', 'Height'].map((name) =>
        Number(new RegExp(`${name}: +(-?\\d+)$`, 'm').exec(text)[1]));
    return { x, y, width, height };
  }

  /// Asks the application to close its main window, as a task bar does, whichever window has
  /// the focus.
  async closeMainWindow() {
    await this.tool('wmctrl', '-i', '-c', await this.awaitWindow());
  }

  /// Waits until a window other than the main one has the focus, and returns its ID.
  async awaitSecondWindow() {
    const main = await this.awaitWindow();
    return waitFor('a second window', async () => {
      if ((await this.windowCount()) !== 2) return null;
      const active = await this.tool('xdotool', 'getactivewindow');
      return active !== '' && active !== main ? active : null;
    });
  }

  /// Returns the number of windows that the window manager manages.
  async windowCount() {
    const list = await this.tool('xprop', '-root', '_NET_CLIENT_LIST');
    return (list.match(/0x/g) ?? []).length;
  }

  /// Waits until the window manager manages `count` windows.
  async awaitWindowCount(count) {
    await waitFor(`${count} windows`, async () => (await this.windowCount()) === count);
  }

  /// Keeps `maxWindowCount` up to date: the largest number of managed windows since a test has
  /// set it to 0.
  watchWindowCount() {
    this.maxWindowCount = 0;
    let text = '';
    this.windowWatch = spawn('xprop', ['-root', '-spy', '_NET_CLIENT_LIST'], {
      env: this.environment,
      stdio: ['ignore', 'pipe', 'ignore'],
    });
    this.windowWatch.stdout.on('data', (chunk) => {
      const lines = (text + chunk).split('\n');
      text = lines.pop();
      for (const line of lines) {
        this.maxWindowCount = Math.max(this.maxWindowCount, line.match(/0x/g)?.length ?? 0);
      }
    });
  }

  /// Waits until a panel with this title has the focus, and returns its window ID.
  async awaitPanel(title) {
    return waitFor(`the panel "${title}"`, async () => {
      const [window] = await this.windows(title);
      const active = await this.tool('xdotool', 'getactivewindow');
      return window !== undefined && window === active ? window : null;
    });
  }

  /// Waits until a panel is closed and another window has the focus.
  async awaitPanelClosed(title) {
    await waitFor(`the end of the panel "${title}"`, async () => {
      if ((await this.windows(title)).length > 0) return false;
      return (await this.tool('xdotool', 'getactivewindow', 'getwindowname')) !== '';
    });
  }

  /// Presses a key that closes a panel, and waits until only the main window is left.
  async closePanel(title, key = 'Return') {
    await this.pressKeys(key);
    await this.awaitPanelClosed(title);
    await this.awaitWindowCount(1);
  }

  /// Waits until a menu is open, or none is. The window of a GTK menu is named for the
  /// application's ID.
  async awaitMenu(isOpen = true) {
    await waitFor(isOpen ? 'an open menu' : 'the end of the menu', async () =>
      (await this.isMenuOpen()) === isOpen);
  }

  async isMenuOpen() {
    return (await this.windows('nl.orvel.os')).length > 0;
  }

  /// Opens the application's menu by F10. The key has no effect while the focus moves from one
  /// window to another, so it may be pressed more than once.
  async openMenu() {
    // A pointer over the menu would move the focus.
    await this.movePointer(900, 700);
    // The key also closes the menu, so it must have been open for long before the next press.
    await repeatUntil('the menu', () => this.pressKeys('F10'), () => this.isMenuOpen(),
      { interval: 10_000 });
  }

  /// Presses an arrow key in an open menu until the item with this name has the focus.
  async moveToMenuItem(name, key = 'Down') {
    const awaitOther = (before) => waitFor(`a menu item after "${before}"`, async () => {
      const widgets = await this.accessibility.widgets();
      return widgets.find((widget) =>
        widget.focused && widget.role === 'menu item' && widget.name !== before)?.name;
    });
    // A menu ignores keys before its first item has the focus.
    for (let item = await awaitOther('none'); item !== name; item = await awaitOther(item)) {
      await this.pressKeys(key);
    }
  }

  /// Chooses an item of the application's menu by the keyboard.
  async chooseApplicationItem(name) {
    await this.awaitWindow();
    await this.openMenu();
    await this.moveToMenuItem(name);
    await this.pressKeys('Return');
    await this.awaitMenu(false);
  }

  async openAddressDialog() {
    await this.chooseApplicationItem('Serveradres…');
    return this.awaitPanel(addressTitle);
  }

  /// Opens the address dialog, replaces its text and presses the key `answer`.
  async answerAddressDialog(text, answer = 'Return') {
    await this.openAddressDialog();
    // The text is selected. xdotool cannot type a tab, so the new text is pasted.
    await this.pressKeys('BackSpace');
    if (text !== '') {
      await this.setClipboard(text);
      await this.pressKeys('ctrl+v');
    }
    await this.pressKeys(answer);
    await this.awaitPanelClosed(addressTitle);
  }

  async property(window, name) {
    return this.tool('xprop', '-id', window, name);
  }

  screenshot() {
    return this.framebuffer.screenshot();
  }

  /// Waits until the page's background is visible at a position.
  async awaitPage(...position) {
    await waitFor('the page on the screen', () => this.screenshot().shows(pageColour, ...position));
  }

  async saveScreenshot(path) {
    await this.tool('convert', `xwd:${join(this.folder, 'Xvfb_screen0')}`, path);
  }

  async clipboard() {
    return this.output('xclip', '-out', '-selection', 'clipboard');
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
