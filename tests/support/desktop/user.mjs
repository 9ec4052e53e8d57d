// One user of the test's own: home, desktop folders, data root and a copy of the
// built application, all in one temporary folder.

import { spawn } from 'node:child_process';
import {
  cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';

import { DataRoot } from './data_root.mjs';
import { filesOpenForWriting, kill, markedProcesses } from './processes.mjs';
import { sandboxEnvironment } from './sandbox.mjs';
import { stopWaiting, waitFor } from './wait.mjs';

/// The key that the tests' copy of the application carries.
export const KEY = 'sleutel-van-de-proef';

const executable = process.env.ORVEL_APP;
if (!executable || !existsSync(executable)) {
  throw new Error(`ORVEL_APP must name the built application, and is ${executable ?? 'not set'}`);
}
const builtBundle = dirname(dirname(dirname(executable)));

function writeInformation(path, entries) {
  let text = readFileSync(path, 'utf8');
  for (const [key, value] of Object.entries(entries)) {
    const old = new RegExp(`\\s*<key>${key}</key>\\s*<string>[^<]*</string>`);
    const entry = `<key>${key}</key><string>${value}</string>`;
    text = text.replace(old, '').replace(/<\/dict>\s*<\/plist>/, `${entry}</dict></plist>`);
  }
  writeFileSync(path, text);
}

export class User {
  /// `behaviour` is the server's, or null for a data root without one;
  /// `information` goes into the bundle; `environment` into each start.
  constructor(screen, { behaviour, plist = {}, environment = {} } = {}) {
    this.screen = screen;
    this.folder = mkdtempSync(join(tmpdir(), 'orvel e2e '));
    this.marker = `ORVEL_E2E=${this.folder}`;
    this.sessions = new Set();
    this.runs = [];
    for (const name of ['home', 'config', 'data', 'cache', 'state', 'temporary']) {
      mkdirSync(join(this.folder, name));
    }
    mkdirSync(join(this.folder, 'runtime'), { mode: 0o700 });
    this.home = join(this.folder, 'home');
    this.root = new DataRoot(join(this.folder, 'de gegevens'), behaviour);

    this.bundle = join(this.folder, 'map met spaties', 'Orvel OS.app');
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
      // No bus, and none to be started either.
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

  /// Sets texts in the bundle's information.
  setPlistValues(entries) {
    writeInformation(join(this.bundle, 'Contents/Info.plist'), entries);
  }

  /// The files that the application keeps for this user.
  dataFiles(folder = this.environment.XDG_DATA_HOME) {
    return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
      const path = join(folder, entry.name);
      if (entry.isDirectory()) return this.dataFiles(path);
      return entry.isFile() ? [path] : [];
    });
  }

  /// Starts the application, by way of another program when there is a
  /// `wrapper` to put before it. A variable given as undefined is left out.
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
      // Tests end it by signals that it answers, or remove the user; all others
      // are crashes.
      stopWaiting(new Error(`the application was ended by ${signal}`));
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

  /// Starts the application with a page of the test's own, made of a piece of
  /// HTML, and gives what the page told when it was painted.
  async startWithPage(page, { routes = {}, ...behaviour } = {}, options = {}) {
    this.root.setBehaviour({ ...behaviour, routes: { '/': { page }, ...routes } });
    await this.startAndShowPage(options);
    return this.root.reported('painted').at(-1);
  }

  /// Kills the application alone, as a user does who has lost patience.
  async forceQuit(run = this.runs.at(-1)) {
    run.killExpected = true;
    kill(run.pid);
    await this.awaitExit(run);
  }

  /// Waits until a run has ended by itself and gives how.
  async awaitExit(run, options) {
    await waitFor('end of the application', () => run.exit, options);
    return run.exit;
  }

  /// Quits with the menu's key and waits for the end.
  async quit(run = this.runs.at(-1)) {
    await this.screen.pressKeys('ctrl+q');
    return this.awaitExit(run);
  }

  processes() {
    return markedProcesses(this.marker, this.sessions);
  }

  processesNamed(name) {
    return this.processes().filter((process) => process.name.startsWith(name.slice(0, 15)));
  }

  /// The files outside this user's folder that the application and what it has
  /// started hold open for writing.
  filesWrittenOutside() {
    return this.processes()
      .flatMap(({ pid }) => filesOpenForWriting(pid))
      .filter((path) => !path.startsWith(`${this.folder}/`));
  }

  /// Fails unless the application and all that it started have gone, and left
  /// nothing in the temporary folder.
  async assertNothingLeft() {
    await waitFor(
      'a machine without processes of the application',
      () => this.processes().length === 0,
    ).catch((error) => {
      const left = this.processes().map(({ pid, command }) => `${pid} ${command}`);
      throw new Error(`${error.message}; left: ${left.join('; ')}`);
    });
    const left = readdirSync(this.environment.TMPDIR);
    if (left.length > 0) throw new Error(`left in the temporary folder: ${left.join(', ')}`);
  }

  /// Ends whatever still runs and removes the folder.
  async remove() {
    await waitFor('end of all processes', () => this.killAll() === 0);
    this.removeFolder();
  }

  /// Kills whatever runs and gives how many that were.
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
