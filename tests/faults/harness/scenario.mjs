// Declares scenarios: a fault is injected while the application works, the application
// exits in the ordinary way, and nothing is left behind.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname } from 'node:path';

import { desktopTests } from '../../support/desktop/desktop_test.mjs';
import { kill } from '../../support/desktop/processes.mjs';
import { releaseRoutes } from '../../support/desktop/release.mjs';
import { awaitSilentCheck, withUpdateServer } from '../../support/desktop/updates.mjs';
import { waitFor } from '../../support/desktop/wait.mjs';
import { pingMainThread } from './main_thread.mjs';

/// Whether the long form of the suite runs.
export const isLong = process.env.ORVEL_TEST_LONG === '1';

/// A pause of the main thread that counts as a hang, in milliseconds: long enough that a
/// busy machine fails no test.
const hangLimit = 10_000;

/// Returns the proportional set size of a process in MiB (proc(5), smaps_rollup).
function memoryOf(pid) {
  const text = readFileSync(`/proc/${pid}/smaps_rollup`, 'utf8');
  return Number(/^Pss:\s+(\d+)/m.exec(text)[1]) / 1024;
}

function hasZombies(pid) {
  const options = ['--ppid', String(pid), '-o', 'stat='];
  return /^Z/m.test(spawnSync('ps', options, { encoding: 'utf8' }).stdout);
}

const namesBelow = (folder) => readdirSync(folder, { recursive: true }).map(String);

/// Removes the messages of WebKit's network process about a bug in libsoup 3.6.5: after a
/// connection reset the session may use a feature that has been freed.
function withoutSoupFault(output) {
  const faulty = [...output.matchAll(/(\(process:\d+\)).*'SOUP_IS_SESSION_FEATURE /g)];
  const isKnown = (line) => faulty.some(([, name]) => line.includes(name));
  return output.split('\n').filter((line) => !isKnown(line)).join('\n');
}

/// One user with one application, which is started once or several times.
class Scenario {
  /// Options of every start.
  startOptions = {};

  /// Files that the application may leave in its configuration folder.
  configurationFiles = ['defaults.ini'];

  constructor(user, screen, t) {
    this.user = user;
    this.screen = screen;
    this.t = t;
  }

  get root() {
    return this.user.root;
  }

  start(options) {
    this.run = this.user.start({ ...this.startOptions, ...options });
  }

  /// Starts the application and waits until it shows the page.
  async startAndShowPage(options) {
    const before = this.paints();
    this.start(options);
    await this.root.awaitPainted(before + 1);
    await this.screen.awaitPage();
  }

  /// Starts the application with this HTML in its page. Returns the page's layout.
  async startWithPage(page, behaviour) {
    const layout = await this.user.startWithPage(page, behaviour, this.startOptions);
    this.run = this.user.runs.at(-1);
    return layout;
  }

  /// Runs the body with version 1.0 of the application and an online server, after the
  /// silent check for updates. `begin` returns the routes for that check.
  async online(body, { begin = () => releaseRoutes('1.0'), ...options } = {}) {
    await withUpdateServer(this.user, this.screen, begin, async (server, routes, run) => {
      this.run = run;
      await awaitSilentCheck(server);
      await body(server, routes);
    }, options);
  }

  /// Sets the responses of the local server from now on.
  setRoutes(routes = {}) {
    this.root.setBehaviour({ live: true, routes });
  }

  /// Returns how often the local server's page has been painted.
  paints() {
    return this.root.reported('painted').length;
  }

  /// Reloads the local server's page and waits until it is painted.
  async reload() {
    const before = this.paints();
    await this.screen.pressKeys('ctrl+r');
    await this.root.awaitPainted(before + 1);
  }

  /// Kills the local server and waits for the error page.
  async crashServer() {
    kill(this.root.events('started').at(-1).pid);
    await this.screen.awaitPageText((text) => text.includes('(code 9)'));
  }

  /// Restarts the local server by Control-R.
  async restartServer() {
    const count = this.root.events('started').length;
    await this.screen.pressKeys('ctrl+r');
    await this.root.awaitStarted(count + 1);
  }

  /// Runs the body. Fails when the main thread hung, or when the memory stays more than
  /// `maxGrowth` MiB above its earlier value. The body may end the application.
  async monitored(body, { maxGrowth = 24, label = this.t.name } = {}) {
    const { run } = this;
    const stopPings = await pingMainThread(this.screen, run);
    const before = memoryOf(run.pid);
    let pauses;
    try {
      await body();
      await this.childrenReaped();
    } finally {
      pauses = await stopPings();
    }
    const growth = run.exit ? 'ended' : `${(memoryOf(run.pid) - before).toFixed(1)} MiB`;
    this.t.diagnostic(`${label}: ${pauses.count} pings, longest ${pauses.elapsed} ms, ` +
      `without waiting for a processor ${pauses.busy} ms; memory ${growth}`);
    assert.ok(pauses.busy < hangLimit, `${label}: the main thread hung for ${pauses.busy} ms`);
    await waitFor(`${label}: memory back near ${Math.round(before)} MiB`, () =>
      run.exit || memoryOf(run.pid) < before + maxGrowth, { timeout: 30_000, every: 200 });
  }

  /// Waits until the application has reaped all child processes that have ended.
  async childrenReaped() {
    await waitFor('the end of all zombies', () => this.run.exit || !hasZombies(this.run.pid));
  }

  /// Ends the application by its key.
  async quit() {
    await this.user.quit(this.run);
  }

  /// Ends the application by a signal: a panel may have the keyboard.
  async terminate() {
    kill(this.run.pid, 'SIGTERM');
    await this.user.awaitCleanExit(this.run);
  }

  /// Checks what the ended application has left: no process, no temporary or partial file,
  /// no core file and no message about a failed assertion.
  async assertClean() {
    const { user } = this;
    await user.assertNothingLeft();
    const output = withoutSoupFault(user.runs.map((run) => run.output).join(''));
    assert.doesNotMatch(output, /CRITICAL|Assertion|terminate called|Sanitizer/);
    const { XDG_CONFIG_HOME, XDG_CACHE_HOME } = user.environment;
    const unexpected = namesBelow(XDG_CONFIG_HOME).filter((name) =>
      name.startsWith('nl.orvel.os/') && !this.configurationFiles.includes(name.slice(12)));
    assert.deepEqual(unexpected, [], 'configuration');
    assert.deepEqual(readdirSync(dirname(user.bundle)), ['Orvel OS.app']);
    // The update's folder stays; it is empty once the bundle has been moved out of it.
    const temporary = namesBelow(XDG_CACHE_HOME).filter((name) =>
      /temporary\/|\.orvel-/.test(name) && !/\/orvel-os-update-[\d.]+(\/part)?$/.test(name));
    assert.deepEqual(temporary, [], 'temporary files');
    const partial = namesBelow(user.home).filter((name) => /\.orvel-|(^|\/)core/.test(name));
    assert.deepEqual(partial, [], 'home folder');
    const cores = readdirSync(user.folder).filter((name) => name.startsWith('core'));
    assert.deepEqual(cores, [], 'core files');
  }
}

/// Returns the function that declares the scenarios of one test file. When the body leaves
/// the application running, it quits by its key. Then nothing may be left.
export function scenarioTests() {
  const { test } = desktopTests();
  return (name, ...optionsAndBody) => {
    const body = optionsAndBody.pop();
    test(name, ...optionsAndBody, async (user, screen, t) => {
      const scenario = new Scenario(user, screen, t);
      await body(scenario);
      if (!scenario.run.exit) await scenario.quit();
      await scenario.assertClean();
    });
  };
}
