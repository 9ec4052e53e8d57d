// Faults of processes, injected in the middle of each job of the application, and kills of WebKit's
// processes at other moments.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import { setTimeout as pause } from 'node:timers/promises';

import { withSessionBus } from '../support/desktop/bus.mjs';
import { desktopTests, isLongForm } from '../support/desktop/desktop_test.mjs';
import {
  awaitErrorPage, endedServerMessage, missingServerMessage,
} from '../support/desktop/error_page.mjs';
import { kill, threadsNamed } from '../support/desktop/processes.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { jobs } from './jobs.mjs';

const { test } = desktopTests();

/// Returns the same outcome for each job.
const sameForEachJob = (outcome) =>
  Object.fromEntries(Object.keys(jobs).map((name) => [name, outcome]));

/// The outcomes of a fault. The title of a test ends with the name of its outcome.
const outcomes = {
  /// The job completes.
  continues: (context, job) => job.finish(context),

  /// The application quits on the SIGTERM that runJob() sends. The page may stall.
  quits: () => {},

  /// The application exits in the ordinary way, and the job leaves nothing partial.
  async exits(context, job) {
    await context.user.awaitCleanExit(context.run);
    await job.assertRolledBack?.(context);
  },

  /// The error page gives the number of SIGKILL, 9, and Control-R starts the server again.
  async 'shows the error page'(context, job) {
    const { user, screen } = context;
    await awaitErrorPage(screen, endedServerMessage(9));
    await job.assertRolledBack?.(context);
    user.localServer.setBehaviour({});
    const before = user.localServer.paintCount();
    await user.restartServer();
    await user.localServer.awaitPainted(before + 1);
  },
};
const { continues, quits, exits, 'shows the error page': showsErrorPage } = outcomes;

/// Returns whether a WebKit process has the thread that receives messages of the application. A
/// WebKit process that dies before it has created that thread makes WebKit end the application.
const receivesMessages = ({ pid }) => threadsNamed(pid, 'ReceiveQueue').length > 0;

async function killWebKitProcess(user, name) {
  const { pid } = await waitFor(name, () => user.processesNamed(name).find(receivesMessages));
  await user.killProcess(pid);
}

const awaitServerPid = async ({ localServer }) => (await localServer.awaitStarted()).pid;

/// Each fault with its outcome for each job, or undefined where it is not tested. `short`
/// names the jobs of the short form (without ORVEL_TEST_LONG). `needsBus` gives the job a session
/// bus.
const faults = {
  'the server is killed': {
    short: ['starting', 'downloading'],
    inject: async ({ user }) => kill(await awaitServerPid(user)),
    // The job updating has no local server.
    outcomes: { ...sameForEachJob(showsErrorPage), updating: undefined, quitting: continues },
  },
  'the server is suspended for a second': {
    short: ['quitting'],
    async inject({ user }) {
      const pid = await awaitServerPid(user);
      kill(pid, 'SIGSTOP');
      await pause(1000);
      kill(pid, 'SIGCONT');
    },
    outcomes: { ...sameForEachJob(continues), updating: undefined },
  },
  'the web process is killed': {
    short: ['starting', 'showing', 'downloading', 'updating'],
    inject: ({ user }) => killWebKitProcess(user, 'WebKitWebProcess'),
    outcomes: sameForEachJob(continues),
  },
  'the network process is killed': {
    short: ['showing', 'updating'],
    inject: ({ user }) => killWebKitProcess(user, 'WebKitNetworkProcess'),
    outcomes: sameForEachJob(continues),
  },
  'the session bus ends': {
    short: ['showing', 'updating'],
    needsBus: true,
    inject: ({ user, bus }) => user.killProcess(bus.pid),
    outcomes: sameForEachJob(continues),
  },
  'a second instance starts': {
    short: ['polling', 'quitting'],
    needsBus: true,
    inject: ({ user, startOptions }) => user.awaitCleanExit(user.start(startOptions)),
    outcomes: sameForEachJob(continues),
  },
  SIGTERM: {
    short: ['polling', 'updating'],
    inject: ({ run }) => kill(run.pid, 'SIGTERM'),
    outcomes: sameForEachJob(exits),
  },
  'no file descriptor is free for a second': {
    short: ['showing'],
    async inject({ run, screen }) {
      // Sets the soft limit, and the hard limit to 4096, the kernel's default.
      const setLimit = (limit) =>
        spawnSync('prlimit', [`--pid=${run.pid}`, `--nofile=${limit}:4096`]).status;
      // Permits only the three standard descriptors.
      assert.equal(setLimit(3), 0);
      await screen.pressKeys('ctrl+r');
      await pause(1000);
      // The usual limit, unless the application has ended.
      assert.ok(setLimit(1024) === 0 || run.exit);
    },
    // Without descriptors GLib and WebKit abort an application that is starting or drawing
    // its first page ("Failed to create shared memory" in WebKitGTK 2.54), and WebKit stalls
    // a page that cannot load a resource.
    outcomes: {
      ...sameForEachJob(continues), starting: undefined, polling: undefined, showing: quits,
    },
  },
};

async function runJob(context, job, { inject }, outcome) {
  const { user } = context;
  await job.begin(context);
  context.run = user.run;
  await inject(context);
  await outcome(context, job);
  if (!context.run.exit) await user.terminate(context.run);
}

for (const [title, fault] of Object.entries(faults)) {
  for (const [name, job] of Object.entries(jobs)) {
    const outcome = fault.outcomes[name];
    if (!outcome || !(isLongForm || fault.short.includes(name))) continue;
    test(`${title} while the application is ${name}: it ${outcome.name}`, async (user, screen) => {
      if (!fault.needsBus) return runJob({ user, screen }, job, fault, outcome);
      return withSessionBus((environment, bus) =>
        runJob({ user, screen, bus, startOptions: { environment } }, job, fault, outcome));
    });
  }
}

// Without a server script, the application shows an error page.
test('the error page is shown again when the web process is killed', { behaviour: null },
  async (user, screen) => {
    user.start();
    await awaitErrorPage(screen, missingServerMessage);
    await killWebKitProcess(user, 'WebKitWebProcess');
    await awaitErrorPage(screen, missingServerMessage);
  });

/// The responses to the reload during which the network process is killed.
const interruptedResponses = {
  'has no response yet': () => ({ noReply: true }),
  'was reset': () => ({ reset: true }),
  'is half received': (gate) => ({ body: 'text '.repeat(100_000), gate }),
};

for (const [situation, response] of Object.entries(interruptedResponses)) {
  test(`Control-R recovers when the network process is killed during a load that ${situation}`,
    async (user, screen) => {
      await jobs.showing.begin({ user, screen });
      user.localServer.setRoutes({ '/': response(user.gate) });
      await screen.pressKeys('ctrl+r');
      await user.localServer.awaitRequest('/', 2);
      await user.killProcess(user.processesNamed('WebKitNetworkProcess')[0].pid);
      writeFileSync(user.gate, '');
      user.localServer.setRoutes();
      await jobs.showing.finish({ user, screen });
      assert.equal(user.localServer.events('started').length, 1, 'number of server starts');
    });
}
