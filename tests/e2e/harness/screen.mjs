// A virtual screen of the test's own, with or without a window manager, and the
// hands and eyes to use it.

import { execFile, spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { Picture } from './picture.mjs';
import { alive, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

const run = promisify(execFile);

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
    await waitFor('the end of the screen', () => mine.every(({ pid }) => !alive(pid)));
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
    try {
      return (await run(name, args, { env: this.environment, timeout: 10_000 })).stdout.trim();
    } catch (error) {
      if (error.code === 'ENOENT') throw new Error(`${name} is not installed`);
      return '';
    }
  }

  async keys(...names) {
    await this.tool('xdotool', 'key', '--clearmodifiers', ...names);
  }

  async type(text) {
    await this.tool('xdotool', 'type', '--delay', '15', text);
  }

  async click(x, y, { repeat = 1 } = {}) {
    const place = [String(x), String(y)];
    const clicks = ['--repeat', String(repeat), '--delay', '60', '1'];
    await this.tool('xdotool', 'mousemove', ...place, 'click', ...clicks);
  }

  /// The numbers of the visible windows with this title.
  async windows(title = 'Orvel OS') {
    const found = await this.tool('xdotool', 'search', '--onlyvisible', '--name', `^${title}$`);
    return found.split('\n').filter(Boolean);
  }

  /// The application's window, once it is there.
  async window() {
    return waitFor('the window', async () => (await this.windows())[0]);
  }

  /// How many windows the window manager has under its care.
  async managedWindows() {
    const list = await this.tool('xprop', '-root', '_NET_CLIENT_LIST');
    return (list.match(/0x/g) ?? []).length;
  }

  async property(window, name) {
    return this.tool('xprop', '-id', window, name);
  }

  picture() {
    return Picture.read(join(this.folder, 'Xvfb_screen0'));
  }

  /// Keeps the picture as a file for people to look at.
  async save(path) {
    await this.tool('convert', `xwd:${join(this.folder, 'Xvfb_screen0')}`, path);
  }

  async clipboard() {
    return this.tool('xclip', '-out', '-selection', 'clipboard');
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
  async pageText(awaited, options = {}) {
    await this.window();
    await this.setClipboard('nog niets gekopieerd');
    let text;
    await waitFor('a certain text on the page', async () => {
      await this.keys('ctrl+a', 'ctrl+c');
      // How many line feeds stand between two blocks is the web engine's affair.
      text = (await this.clipboard()).replace(/\n+/g, '\n');
      return awaited(text);
    }, { every: 100, ...options }).catch((error) => {
      throw new Error(`${error.message}; the page says: ${JSON.stringify(text)}`);
    });
    return text;
  }
}
