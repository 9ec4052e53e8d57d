// Faults of processes, injected in the middle of each job of the application.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { setTimeout as pause } from 'node:timers/promises';

import { isRunning, kill } from '../support/desktop/processes.mjs';
import { withSessionBus } from '../support/desktop/session_bus.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { jobs } from './harness/jobs.mjs';
import { isLong, scenarioTests } from './harness/scenario.mjs';

const test = scenarioTests();

/// The outcome of the same fault in each job.
const always = (outcome) =>
  Object.fromEntries(Object.keys(jobs).map((name) => [name, outcome]));

const outcomes = {
  /// The job completes.
  continues: (scenario, job) => job.finish(scenario),

  /// The main thread answers and the application quits; the page may stall.
  answers: () => {},

  /// The application exits in the ordinary way, and the job leaves nothing partial.
  async exits(scenario, job) {
    await scenario.user.awaitCleanExit(scenario.run);
    await job.assertNothingDone?.(scenario);
  },

  /// The error page gives the number of SIGKILL, and Control-R opens the OS again.
  async reports(scenario, job) {
    const message = 'De OS-server is gestopt (code 9). Zie ~/orvel-os/v3/.local/server.log. ' +
      'Herstarten met ⌘R.';
    const text = await scenario.screen.awaitPageText((page) => page.endsWith(message));
    assert.equal(text, `Orvel OS\n${message}`);
    await job.assertNothingDone?.(scenario);
    scenario.root.setBehaviour({});
    const before = scenario.paints();
    await scenario.restartServer();
    await scenario.root.awaitPainted(before + 1);
  },
};
const { continues, answers, exits, reports } = outcomes;

/// Returns whether a WebKit process has a thread that listens to the application. WebKit
/// ends the application when a process dies before that.
function listens({ pid }) {
  try {
    return readdirSync(`/proc/${pid}/task`).some((thread) =>
      readFileSync(`/proc/${pid}/task/${thread}/comm`, 'utf8').startsWith('ReceiveQueue'));
  } catch {
    return false;
  }
}

async function killAndWait(pid) {
  kill(pid);
  await waitFor(`the end of process ${pid}`, () => !isRunning(pid));
}

async function killWebKitProcess({ user }, name) {
  const { pid } = await waitFor(name, () => user.processesNamed(name).find(listens));
  await killAndWait(pid);
}

const serverOf = async ({ root }) => (await root.awaitStarted()).pid;

/// Each fault with its outcome for each job; the short form runs some of the jobs.
const faults = {
  'the server crashes': {
    short: ['starting', 'downloading'],
    inject: async (scenario) => kill(await serverOf(scenario)),
    // The job updating has no local server.
    outcomes: { ...always(reports), updating: undefined, quitting: continues },
  },
  'the server is stopped for a second': {
    short: ['quitting'],
    async inject(scenario) {
      const pid = await serverOf(scenario);
      kill(pid, 'SIGSTOP');
      await pause(1000);
      kill(pid, 'SIGCONT');
    },
    outcomes: { ...always(continues), updating: undefined },
  },
  'the web process is killed': {
    short: ['starting', 'downloading', 'updating'],
    inject: (scenario) => killWebKitProcess(scenario, 'WebKitWebProcess'),
    outcomes: always(continues),
  },
  'the network process is killed': {
    short: ['showing', 'updating'],
    inject: (scenario) => killWebKitProcess(scenario, 'WebKitNetworkProcess'),
    outcomes: always(continues),
  },
  'the session bus ends': {
    short: ['showing', 'updating'],
    onBus: true,
    inject: (scenario) => killAndWait(scenario.bus.pid),
    outcomes: always(continues),
  },
  'a second instance starts': {
    short: ['polling', 'quitting'],
    onBus: true,
    inject: ({ user, startOptions }) => user.awaitCleanExit(user.start(startOptions)),
    outcomes: always(continues),
  },
  SIGTERM: {
    short: ['polling', 'updating'],
    inject: ({ run }) => kill(run.pid, 'SIGTERM'),
    outcomes: always(exits),
  },
  'no file descriptor is free for a second': {
    short: ['showing'],
    async inject({ run, screen }) {
      const setLimit = (limit) =>
        spawnSync('prlimit', [`--pid=${run.pid}`, `--nofile=${limit}:4096`]).status;
      assert.equal(setLimit(3), 0);
      await screen.pressKeys('ctrl+r');
      await pause(1000);
      assert.ok(setLimit(1024) === 0 || run.exit);
    },
    // Without descriptors GLib and WebKit abort an application that is starting or drawing
    // its first page ("Failed to create shared memory" in WebKitGTK 2.54), and WebKit stalls
    // a page that cannot load an image.
    outcomes: { ...always(continues), starting: undefined, polling: undefined, showing: answers },
  },
};

async function runJob(scenario, job, { inject }, outcome) {
  await job.begin(scenario);
  await scenario.monitored(async () => {
    await job.enter?.(scenario);
    await inject(scenario);
    await outcome(scenario, job);
  });
  if (!scenario.run.exit) await scenario.terminate();
}

for (const [title, fault] of Object.entries(faults)) {
  for (const [name, job] of Object.entries(jobs)) {
    const outcome = fault.outcomes[name];
    if (!outcome || !(isLong || fault.short.includes(name))) continue;
    test(`${name}: ${title}`, async (scenario) => {
      if (!fault.onBus) return runJob(scenario, job, fault, outcome);
      return withSessionBus(async (environment, bus) => {
        Object.assign(scenario, { bus, startOptions: { environment } });
        await runJob(scenario, job, fault, outcome);
      });
    });
  }
}
