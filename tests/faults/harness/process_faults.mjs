// What can strike the application from outside, in the short form of the
// campaign in some jobs only, and what comes of it in the middle of each:
//   goes on    the job comes to its ordinary end
//   stands     the application answers, though its page may not, and can be quit
//   report 9   the error page names the signal, and Control-R opens the OS again
//   ends       the application ends in its ordinary way, and nothing is half done

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { setTimeout as pause } from 'node:timers/promises';

import { isRunning, kill } from '../../support/desktop/processes.mjs';
import { waitFor } from '../../support/desktop/wait.mjs';
import { endedWell } from './invariants.mjs';

const goesOn = 'goes on';
const always = (outcome) => ({
  starting: outcome, polling: outcome, showing: outcome, downloading: outcome,
  updating: outcome, quitting: outcome,
});

/// The engine ends the application itself when one of its processes goes before
/// it has said who it is; then it has a thread that listens.
function listens({ pid }) {
  try {
    return readdirSync(`/proc/${pid}/task`).some((thread) =>
      readFileSync(`/proc/${pid}/task/${thread}/comm`, 'utf8').startsWith('ReceiveQueue'));
  } catch {
    return false;
  }
}

async function killProcess(scene, name) {
  const [found] = await waitFor(name, () => {
    const all = scene.user.processesNamed(name).filter(listens);
    return all.length > 0 && all;
  });
  kill(found.pid);
  await waitFor(`the end of ${name}`, () => !isRunning(found.pid));
}

const serverOf = async (scene) => (await scene.user.root.awaitStarted()).pid;

export const blows = {
  'the server crashes': {
    short: ['starting', 'downloading'],
    strike: async (scene) => kill(await serverOf(scene)),
    // Nothing of the machine's own runs beside an online server.
    outcomes: { ...always('report 9'), updating: undefined, quitting: goesOn },
  },
  'the server hangs for a second': {
    short: ['quitting'],
    async strike(scene) {
      const pid = await serverOf(scene);
      kill(pid, 'SIGSTOP');
      // How long a hang lasts is all that there is to it.
      await pause(1000);
      kill(pid, 'SIGCONT');
    },
    outcomes: { ...always(goesOn), updating: undefined },
  },
  'the web process is killed': {
    short: ['starting', 'downloading', 'updating'],
    strike: (scene) => killProcess(scene, 'WebKitWebProcess'),
    outcomes: always(goesOn),
  },
  'the network process is killed': {
    short: ['showing', 'updating'],
    strike: (scene) => killProcess(scene, 'WebKitNetworkProcess'),
    outcomes: always(goesOn),
  },
  'the session bus goes': {
    short: ['showing', 'updating'],
    onBus: true,
    async strike(scene) {
      kill(scene.bus.pid);
      await waitFor('the end of the bus', () => !isRunning(scene.bus.pid));
    },
    outcomes: always(goesOn),
  },
  'a second instance starts': {
    short: ['polling', 'quitting'],
    onBus: true,
    strike: async (scene) => endedWell(scene.user, scene.user.start(scene.options)),
    outcomes: always(goesOn),
  },
  SIGTERM: {
    short: ['polling', 'updating'],
    strike: (scene) => kill(scene.run.pid, 'SIGTERM'),
    outcomes: always('ends'),
  },
  'no descriptor is left for a second': {
    short: ['polling', 'showing'],
    async strike(scene) {
      const limit = (number) => spawnSync('prlimit', [`--pid=${scene.run.pid}`,
        `--nofile=${number}:4096`]).status;
      assert.equal(limit(3), 0);
      await scene.screen.pressKeys('ctrl+r');
      await pause(1000);
      assert.ok(limit(1024) === 0 || scene.run.exit);
    },
    // While it starts, GLib and the web engine end a process that gets none; later
    // the engine may lose a picture, and waits for it until it ends.
    outcomes: { ...always(goesOn), starting: undefined, polling: 'stands', showing: 'stands' },
  },
};
