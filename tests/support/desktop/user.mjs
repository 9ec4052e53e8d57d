// A user in one temporary folder: home, XDG folders, data root, and a copy of the built
// application.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import {
  cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';

import { DataRoot } from './data_root.mjs';
import { OnlineServer } from './online_server.mjs';
import { filesOpenForWriting, kill, markedProcesses } from './processes.mjs';
import { sandboxEnvironment } from './sandbox.mjs';
import { failWaits, waitFor } from './wait.mjs';

/// The application key in Info.plist.
export const KEY = 'key-of-the-tests';

const executable = process.env.ORVEL_APP;
if (!executable || !existsSync(executable)) {
  throw new Error(`ORVEL_APP must name the built application, and is ${executable ?? 'not set'}`);
}
const builtBundle = dirname(dirname(dirname(executable)));

function writePlistValues(path, values) {
  let text = readFileSync(path, 'utf8');
  for (const [key, value] of Object.entries(values)) {
    const old = new RegExp(`\\s*<key>${key}</key>\\s*<string>[^<]*</string>`);
    const entry = `<key>${key}</key><string>${value}</string>`;
    text = text.replace(old, '').replace(/<\/dict>\s*<\/plist>/, `${entry}</dict></plist>`);
  }
  writeFileSync(path, text);
}

export class User {
  /// `behaviour` is that of the fixture server, or null for a data root without a server. `plist`
  /// holds values for Info.plist, `environment` variables for each start.
  constructor(screen, { behaviour, plist = {}, environment = {} } = {}) {
    this.screen = screen;
    this.folder = mkdtempSync(join(tmpdir(), 'orvel e2e '));
    this.marker = `ORVEL_E2E=${this.folder}`;
    this.sessions = new Set();
    this.runs = [];
    this.cleanups = [];
    for (const name of ['home', 'config', 'data', 'cache', 'state', 'temporary']) {
      mkdirSync(join(this.folder, name));
    }
    mkdirSync(join(this.folder, 'runtime'), { mode: 0o700 });
    this.home = join(this.folder, 'home');
    this.root = new DataRoot(join(this.folder, 'data root'), behaviour);

    this.bundle = join(this.folder, 'folder with spaces', 'Orvel OS.app');
    cpSync(builtBundle, this.bundle, { recursive: true });
    this.setPlistValues({ ORVELOSKey: KEY, ...plist });
    this.executable = join(this.bundle, executable.slice(builtBundle.length));
    this.environment = {
      PATH: process.env.PATH,
      LANG: 'C.UTF-8',
      DISPLAY: screen.display,
      HOME: this.home,
      XDG_CONFIG_HOME: join(this.folder, 'config'),
      XDG_DATA_HOME: join(this.folder, 'data'),
      XDG_CACHE_HOME: join(this.folder, 'cache'),
      XDG_STATE_HOME: join(this.folder, 'state'),
      XDG_RUNTIME_DIR: join(this.folder, 'runtime'),
      TMPDIR: join(this.folder, 'temporary'),
      // An address without a bus. Without the variable GLib would start a bus.
      DBUS_SESSION_BUS_ADDRESS: 'disabled:',
      ORVEL_OS_ROOT: this.root.path,
      ORVEL_E2E: this.folder,
      ...Object.fromEntries(
        Object.entries(process.env).filter(([name]) => /^(A|L|T|UB)SAN_OPTIONS$/.test(name)),
      ),
      ...sandboxEnvironment(),
      ...environment,
    };
  }

  setPlistValues(values) {
    writePlistValues(join(this.bundle, 'Contents/Info.plist'), values);
  }

  /// The file with the user's settings.
  get defaultsFile() {
    return join(this.environment.XDG_CONFIG_HOME, 'nl.orvel.os/defaults.ini');
  }

  /// Stores an address as the user's choice.
  storeAddress(address) {
    mkdirSync(dirname(this.defaultsFile), { recursive: true });
    writeFileSync(this.defaultsFile, `[Defaults]\nosURL=${address}\n`);
  }

  /// Returns the files in the user's XDG data folder.
  dataFiles(folder = this.environment.XDG_DATA_HOME) {
    return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
      const path = join(folder, entry.name);
      if (entry.isDirectory()) return this.dataFiles(path);
      return entry.isFile() ? [path] : [];
    });
  }

  /// Opens an OnlineServer that is closed at the end of the test.
  async openOnlineServer(options) {
    const server = await OnlineServer.open(options);
    this.cleanups.push(() => server.close());
    return server;
  }

  /// Starts the application, with `wrapper` as the command line in front of it. A variable with
  /// the value undefined is removed from the environment.
  start({ environment = {}, args = [], wrapper = [] } = {}) {
    const [program, ...all] = [...wrapper, this.executable, ...args];
    const child = spawn(program, all, {
      cwd: this.folder,
      detached: true,
      env: { ...this.environment, ...environment },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    const run = { child, pid: child.pid, output: '', exit: null, killExpected: false };
    child.stdout.on('data', (text) => (run.output += text));
    child.stderr.on('data', (text) => (run.output += text));
    child.once('exit', (code, signal) => {
      run.exit = { code, signal, time: Date.now() };
      if (!signal || run.killExpected || this.removing) return;
      failWaits(new Error(`the application was ended by ${signal}`));
    });
    child.once('error', (error) => (run.exit = { error }));
    if (child.pid) this.sessions.add(child.pid);
    this.runs.push(run);
    return run;
  }

  /// Starts the application and waits until it has painted the page.
  async startAndShowPage(options) {
    const before = this.root.reported('painted').length;
    const run = this.start(options);
    await this.root.awaitPainted(before + 1);
    return run;
  }

  /// Starts the application with a page around a piece of HTML; returns the page's layout.
  async startWithPage(page, { routes = {}, ...behaviour } = {}, options = {}) {
    this.root.setBehaviour({ ...behaviour, routes: { '/': { page }, ...routes } });
    await this.startAndShowPage(options);
    return this.root.reported('painted').at(-1);
  }

  /// Kills the application, but not its children.
  async forceQuit(run = this.runs.at(-1), signal = 'SIGKILL') {
    run.killExpected = true;
    kill(run.pid, signal);
    await this.awaitExit(run);
  }

  /// Waits for the end of a run and returns its exit code, signal and time.
  async awaitExit(run, options) {
    await waitFor('end of the application', () => run.exit, options);
    return run.exit;
  }

  /// Waits for the end of a run with exit code 0 and returns its time.
  async awaitCleanExit(run = this.runs.at(-1)) {
    const { code, signal, time } = await this.awaitExit(run);
    assert.deepEqual({ code, signal }, { code: 0, signal: null }, run.output);
    return time;
  }

  /// Quits with the menu's key and waits for a clean exit.
  async quit(run = this.runs.at(-1)) {
    await this.screen.pressKeys('ctrl+q');
    return this.awaitCleanExit(run);
  }

  processes() {
    return markedProcesses(this.marker, this.sessions);
  }

  /// Returns the processes with this name, of which the kernel keeps 15 bytes.
  processesNamed(name) {
    return this.processes().filter((process) => process.name.startsWith(name.slice(0, 15)));
  }

  /// Returns the files outside the user's folder that the user's processes have open for writing.
  filesWrittenOutside() {
    return this.processes()
      .flatMap(({ pid }) => filesOpenForWriting(pid))
      .filter((path) => !path.startsWith(`${this.folder}/`));
  }

  /// Waits for the end of the application and all its descendants, and fails if the temporary
  /// folder is not empty.
  async assertNothingLeft() {
    await waitFor('the end of all processes', () => this.processes().length === 0)
      .catch((error) => {
        const left = this.processes().map(({ pid, command }) => `${pid} ${command}`);
        throw new Error(`${error.message}; left: ${left.join('; ')}`);
      });
    const left = readdirSync(this.environment.TMPDIR);
    if (left.length > 0) throw new Error(`left in the temporary folder: ${left.join(', ')}`);
  }

  /// Kills all processes, runs the cleanups and removes the folder.
  async remove() {
    await waitFor('end of all processes', () => this.killAll() === 0);
    for (const cleanUp of this.cleanups) await cleanUp();
    this.removeFolder();
  }

  /// Kills all processes and returns how many there were.
  killAll() {
    this.removing = true;
    const left = this.processes();
    for (const { pid } of left) kill(pid);
    return left.length;
  }

  removeFolder() {
    rmSync(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}
