// A user in one temporary folder: home, XDG folders, data root, and a copy of the built
// application.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { cpSync, existsSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';

import { createUserEnvironment } from './environment.mjs';
import { awaitErrorPage, endedServerMessage } from './error_page.mjs';
import { LocalServer } from './local_server.mjs';
import { OnlineServer } from './online_server.mjs';
import { hasZombie, isRunning, kill, markedProcesses, peakMemory } from './processes.mjs';
import { plistValue, setPlistValue } from './release.mjs';
import { failWaits, repeatUntil, waitFor } from './wait.mjs';

/// The application key in Info.plist, with which the application identifies itself to its server.
export const APP_KEY = 'key-of-the-tests';

/// The limit, in MiB, for the resident memory of the application's main process. It uses less
/// than 300 MiB, and would exceed the limit if it kept an endless response or a file of 1 GiB
/// in memory.
const maxMemory = 900;

const executable = process.env.ORVEL_APP;
if (!executable || !existsSync(executable)) {
  throw new Error(`ORVEL_APP must name the built application, and is ${executable ?? 'not set'}`);
}
const builtBundle = dirname(dirname(dirname(executable)));

export class User {
  /// `behaviour` is that of the fixture server, or null for a data root without a server. `plist`
  /// holds values for Info.plist.
  constructor(screen, { behaviour, plist = {} } = {}) {
    this.screen = screen;
    this.folder = mkdtempSync(join(tmpdir(), 'orvel e2e '));
    // The user's processes have this environment variable, or belong to the session (setsid(2)) of
    // a process that start() has created.
    this.marker = `ORVEL_E2E=${this.folder}`;
    this.sessions = new Set();
    this.runs = [];
    // Functions that remove() calls.
    this.cleanups = [];
    this.environment = createUserEnvironment(this.folder, screen.display);
    this.home = this.environment.HOME;
    // For the `gate` or `trickle` of a route (responses.mjs): the server sends the rest of the body
    // once the test has created this file.
    this.gate = join(this.folder, 'gate');
    this.localServer = new LocalServer(join(this.folder, 'data root'), behaviour);
    Object.assign(this.environment, {
      ORVEL_OS_ROOT: this.localServer.dataRoot,
      ORVEL_E2E: this.folder,
      ...Object.fromEntries(
        Object.entries(process.env).filter(([name]) => /^(A|L|T|UB)SAN_OPTIONS$/.test(name)),
      ),
      ...screen.accessibility?.environment,
    });

    this.bundle = join(this.folder, 'folder with spaces', 'Orvel OS.app');
    cpSync(builtBundle, this.bundle, { recursive: true });
    this.setPlistValues({ ORVELOSKey: APP_KEY, ...plist });
    this.executable = join(this.bundle, executable.slice(builtBundle.length));
  }

  setPlistValues(values) {
    for (const [key, value] of Object.entries(values)) setPlistValue(this.bundle, key, value);
  }

  /// Returns the version of the application in the user's bundle.
  installedVersion() {
    return plistValue(this.bundle, 'CFBundleShortVersionString');
  }

  /// The file with the user's settings.
  get defaultsFile() {
    return join(this.environment.XDG_CONFIG_HOME, 'nl.orvel.os/defaults.ini');
  }

  /// Opens an OnlineServer that is closed at the end of the test.
  async openOnlineServer(options) {
    const server = await OnlineServer.open(options);
    this.cleanups.push(() => server.close());
    return server;
  }

  /// The latest run of the application, as start() returns it.
  get run() {
    return this.runs.at(-1);
  }

  /// Starts the application, with `wrapper` as the command line in front of it, and returns the
  /// run: its process, output and exit. A variable with the value undefined is removed from the
  /// environment. When a signal ends the application, all waits fail, unless the test has set
  /// the member `killExpected` of the run.
  start({ environment = {}, args = [], wrapper = [] } = {}) {
    const [program, ...allArgs] = [...wrapper, this.executable, ...args];
    const child = spawn(program, allArgs, {
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
      if (!signal || run.killExpected || this.isBeingRemoved) return;
      failWaits(new Error(`${signal} ended the application, which the test did not expect`));
    });
    child.once('error', (error) => (run.exit = { error }));
    if (child.pid) this.sessions.add(child.pid);
    this.runs.push(run);
    return run;
  }

  /// Starts the application and waits until it has painted the page of `server`: an OnlineServer,
  /// or by default the local server.
  async startAndShowPage({ server = this.localServer, ...options } = {}) {
    const before = server.paintCount();
    const run = this.start(options);
    await server.awaitPainted(before + 1);
    return run;
  }

  /// Starts the application with a page whose body is a piece of HTML, and returns the layout
  /// that the page reports. `routes` are the server's other routes, `options` those of start().
  async startWithPage(page, routes = {}, options = {}) {
    this.localServer.setRoutes({ '/': { page }, ...routes });
    await this.startAndShowPage(options);
    return this.localServer.reported('painted').at(-1);
  }

  /// Reloads the page by Control-R and waits until it is painted. Presses the keys again
  /// when nothing happens: after the network process has been killed, WebKit drops a reload that
  /// begins before it notices that.
  async reload(server = this.localServer) {
    const before = server.paintCount();
    await repeatUntil('the reloaded page', () => this.screen.pressKeys('ctrl+r'),
      () => server.paintCount() > before);
  }

  /// Types into the field of the page until the page reports the text. Letters are lost if they are
  /// typed before the page has the focus, or into a page that is about to be replaced.
  async typeIntoField(text) {
    await repeatUntil(`"${text}" in the field`, () => this.screen.type(text),
      () => this.localServer.reported('field').at(-1)?.value.endsWith(text));
  }

  /// Kills the local server and waits for the error page, which shows the number of SIGKILL, 9.
  async crashServer() {
    kill(this.localServer.events('started').at(-1).pid);
    await awaitErrorPage(this.screen, endedServerMessage(9));
  }

  /// Restarts the local server by Control-R and waits until it has started.
  async restartServer() {
    const count = this.localServer.events('started').length;
    await this.screen.pressKeys('ctrl+r');
    await this.localServer.awaitStarted(count + 1);
  }

  /// Ends the application, but not its children, by a signal, and waits for its end.
  async forceQuit(run = this.run, signal = 'SIGKILL') {
    run.killExpected = true;
    kill(run.pid, signal);
    await this.awaitExit(run);
  }

  /// Waits for the end of a run and returns its exit code, signal and time.
  async awaitExit(run) {
    await waitFor('the end of the application', () => run.exit);
    return run.exit;
  }

  /// Waits for the end of a run with exit code 0 and returns its time.
  async awaitCleanExit(run = this.run) {
    const { code, signal, time } = await this.awaitExit(run);
    assert.deepEqual({ code, signal }, { code: 0, signal: null }, run.output);
    return time;
  }

  /// Quits by `action`, by default Control-Q, and waits for a clean exit.
  async quit(run = this.run, action = () => this.screen.pressKeys('ctrl+q')) {
    await this.assertHealthy(run);
    await action();
    return this.awaitCleanExit(run);
  }

  /// Quits by SIGTERM, for tests in which a panel or another instance may have the focus.
  async terminate(run = this.run) {
    return this.quit(run, () => kill(run.pid, 'SIGTERM'));
  }

  /// Waits until the application has reaped its children that have ended, and fails if it has
  /// used too much memory.
  async assertHealthy({ pid }) {
    await waitFor('the end of all zombies', () => !hasZombie(pid));
    const memory = peakMemory(pid);
    assert.ok(memory < maxMemory, `the application used ${memory} MiB, not under ${maxMemory}`);
  }

  /// Returns the processes that the user has started, and their descendants.
  processes() {
    return markedProcesses(this.marker, this.sessions);
  }

  /// Returns the processes whose names begin with this one. The kernel truncates names to 15 bytes.
  processesNamed(name) {
    return this.processes().filter((process) => process.name.startsWith(name.slice(0, 15)));
  }

  /// Kills a process and waits for its end.
  async killProcess(pid) {
    kill(pid);
    await waitFor(`the end of process ${pid}`, () => !isRunning(pid));
  }

  /// Waits for the end of the application and all its descendants.
  async awaitProcessesEnded() {
    await waitFor('the end of all processes', () => this.processes().length === 0)
      .catch((error) => {
        const running = this.processes().map(({ pid, command }) => `${pid} ${command}`);
        throw new Error(`${error.message}; still running: ${running.join('; ')}`);
      });
  }

  /// Kills all processes, runs the cleanups and removes the folder.
  async remove() {
    await waitFor('the end of all processes', () => this.killAll() === 0);
    try {
      for (const cleanUp of this.cleanups) await cleanUp();
    } finally {
      this.removeFolder();
    }
  }

  /// Kills all processes and returns how many there were.
  killAll() {
    this.isBeingRemoved = true;
    const processes = this.processes();
    for (const { pid } of processes) kill(pid);
    return processes.length;
  }

  removeFolder() {
    rmSync(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}
