// A virtual screen of the test's own, with or without a window manager, and the
// hands and eyes to use it.

import { execFile, spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { Framebuffer } from '../image.mjs';
import { isRunning, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

const run = promisify(execFile);

/// The name of a key for xdotool, with a function key as its key code (Linux's
/// input code plus 8). Given a name, xdotool looks for the modifiers that lead to
/// it in the key's type, and finds Alt for the function keys of xkb-data 2.48.
function withKeyCode(name) {
  return name.replace(/(?<=^|\+)F(\d+)$/, (_, number) =>
    String(Number(number) <= 10 ? 66 + Number(number) : 84 + Number(number)));
}

export class Screen {
  /// Starts the screen; `windowManager` false leaves it without one.
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
    const mine = this.end();
    await waitFor('the end of the screen', () => mine.every(({ pid }) => !isRunning(pid)));
    this.framebuffer.close();
    rmSync(this.folder, { recursive: true, force: true });
  }

  /// Tells the screen to go, without waiting; gives its processes.
  end() {
    const mine = [this.manager, this.server].filter(Boolean);
    for (const child of mine) kill(child.pid, 'SIGTERM');
    return mine;
  }

  /// Runs a tool on this screen and gives what it printed; nothing when it
  /// fails, as xdotool does for a window that is not there yet.
  async tool(name, ...args) {
    return (await this.output(name, ...args)).trim();
  }

  /// The same with the blanks around it.
  async output(name, ...args) {
    try {
      return (await run(name, args, { env: this.environment, timeout: 10_000 })).stdout;
    } catch (error) {
      if (error.code === 'ENOENT') throw new Error(`${name} is not installed`);
      return '';
    }
  }

  /// Presses keys by their X11 names, with modifiers before a plus sign:
  /// `keys('ctrl+a', 'F10')`.
  async pressKeys(...names) {
    await this.tool('xdotool', 'key', '--clearmodifiers', ...names.map(withKeyCode));
  }

  async type(text) {
    await this.tool('xdotool', 'type', '--delay', '15', text);
  }

  async click(x, y, { repeat = 1, button = 1 } = {}) {
    const place = [String(Math.round(x)), String(Math.round(y))];
    const clicks = ['--repeat', String(repeat), '--delay', '60', String(button)];
    await this.tool('xdotool', 'mousemove', ...place, 'click', ...clicks);
  }

  /// Where on the screen an element is, of a page that has `told` its size and
  /// places; the page ends where the screen does.
  positionOf(layout, id) {
    const [x, y] = layout.places[id];
    return [x, y + this.screenshot().height - layout.height];
  }

  async clickElement(layout, id, options) {
    await this.click(...this.positionOf(layout, id), options);
  }

  async hoverElement(layout, id) {
    const place = this.positionOf(layout, id).map((at) => String(Math.round(at)));
    await this.tool('xdotool', 'mousemove', ...place);
  }

  /// The numbers of the visible windows with this title.
  async windows(title = 'Orvel OS') {
    const name = `^${title.replace(/[.?*+()|[\]{}\\^$]/g, '\\$&')}$`;
    const found = await this.tool('xdotool', 'search', '--onlyvisible', '--name', name);
    return found.split('\n').filter(Boolean);
  }

  /// The application's window, once it is there.
  async awaitWindow() {
    return waitFor('the window', async () => (await this.windows())[0]);
  }

  /// Asks the application to close its main window, as a task bar does, regardless of the
  /// focus.
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

  /// How many windows the window manager has under its care.
  async windowCount() {
    const list = await this.tool('xprop', '-root', '_NET_CLIENT_LIST');
    return (list.match(/0x/g) ?? []).length;
  }

  /// Watches the windows under the manager's care from now on; gives a function
  /// that tells how many there were at most.
  watchWindowCount() {
    let most = 0;
    let text = '';
    const spy = spawn('xprop', ['-root', '-spy', '_NET_CLIENT_LIST'], {
      env: this.environment,
      stdio: ['ignore', 'pipe', 'ignore'],
    });
    spy.stdout.on('data', (piece) => {
      text += piece;
      for (const line of text.split('\n')) most = Math.max(most, line.match(/0x/g)?.length ?? 0);
      text = text.slice(text.lastIndexOf('\n') + 1);
    });
    return async () => {
      await waitFor('a look at the windows', () => most > 0);
      kill(spy.pid, 'SIGTERM');
      return most;
    };
  }

  /// Waits until a panel with this title is there and has the keyboard.
  async awaitPanel(title) {
    return waitFor(`the panel "${title}"`, async () => {
      const [window] = await this.windows(title);
      const active = await this.tool('xdotool', 'getactivewindow');
      return window !== undefined && window === active ? window : null;
    });
  }

  /// Waits until a panel is gone and another window has the keyboard.
  async awaitPanelClosed(title) {
    await waitFor(`the end of the panel "${title}"`, async () => {
      if ((await this.windows(title)).length > 0) return false;
      return (await this.tool('xdotool', 'getactivewindow', 'getwindowname')) !== '';
    });
  }

  /// Waits until a menu is open, or none is. Those of the application have the
  /// name that GTK knows it by.
  async awaitMenu(isOpen = true, options = {}) {
    await waitFor(isOpen ? 'an open menu' : 'the end of the menu', async () =>
      ((await this.windows('nl.orvel.os')).length > 0) === isOpen, options);
  }

  /// Opens the application's menu by its key, which gets lost when it comes just
  /// as another window has given the keyboard back.
  async openMenu() {
    await waitFor('the menu', async () => {
      await this.pressKeys('F10');
      return this.awaitMenu(true, { timeout: 2000 }).then(() => true, () => false);
    });
  }

  /// Chooses one of the first three items of the application's menu, by keys
  /// alone.
  async chooseApplicationItem(number) {
    await this.awaitWindow();
    // A pointer over the menu would choose too.
    await this.tool('xdotool', 'mousemove', '900', '700');
    await this.openMenu();
    // The keyboard is there a moment after the menu: its first item is lit up.
    const lines = [61, 91, 121];
    const item = (lit) => waitFor(`item ${lit} of the menu`, () => {
      const light = lines.map((y) => this.screenshot().pixel(185, y)[2]);
      return light.every((value, index) => index === lit || light[lit] - value > 15);
    });
    await item(0);
    for (let step = 0; step < number; step += 1) await this.pressKeys('Down');
    await item(number);
    await this.pressKeys('Return');
    await this.awaitMenu(false);
  }

  async openAddressDialog() {
    await this.chooseApplicationItem(2);
    return this.awaitPanel('Adres van het OS');
  }

  /// Opens the address dialog, gives it this text by keys alone, and presses
  /// `answer`.
  async answerAddressDialog(text, answer = 'Return') {
    await this.openAddressDialog();
    // Its whole text is selected; a tab cannot be typed.
    await this.pressKeys('BackSpace');
    if (text !== '') {
      await this.setClipboard(text);
      await this.pressKeys('ctrl+v');
    }
    await this.pressKeys(answer);
    await this.awaitPanelClosed('Adres van het OS');
  }

  /// Waits until so many windows are under the manager's care, which takes
  /// note of an end a moment after it.
  async awaitWindowCount(count) {
    await waitFor(`${count} windows`, async () => (await this.windowCount()) === count);
  }

  async property(window, name) {
    return this.tool('xprop', '-id', window, name);
  }

  screenshot() {
    return this.framebuffer.screenshot();
  }

  /// Keeps the picture as a file for people to look at.
  async saveScreenshot(path) {
    await this.tool('convert', `xwd:${join(this.folder, 'Xvfb_screen0')}`, path);
  }

  async clipboard() {
    return this.output('xclip', '-out', '-selection', 'clipboard');
  }

  /// Puts a text on the clipboard, so that a later one can be told from it.
  async setClipboard(text) {
    const child = spawn('xclip', ['-in', '-selection', 'clipboard'], {
      env: this.environment,
      stdio: ['pipe', 'ignore', 'ignore'],
    });
    child.stdin.end(text);
    await waitFor('the clipboard', async () => (await this.clipboard()) === text);
  }

  /// The text of the page that is shown, as selecting and copying all gives it,
  /// once it is `awaited`.
  async awaitPageText(awaited, options = {}) {
    await this.awaitWindow();
    await this.setClipboard('nog niets gekopieerd');
    let text;
    await waitFor('a certain text on the page', async () => {
      await this.pressKeys('ctrl+a', 'ctrl+c');
      // How many line feeds stand between two blocks is the web engine's affair.
      text = (await this.clipboard()).trim().replace(/\n+/g, '\n');
      return awaited(text);
    }, { every: 100, ...options }).catch((error) => {
      throw new Error(`${error.message}; the page says: ${JSON.stringify(text)}`);
    });
    return text;
  }
}
