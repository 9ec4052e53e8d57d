// Puts a blow in the middle of a job and looks at what comes of it.

import assert from 'node:assert/strict';

import { withSessionBus } from '../../support/desktop/session_bus.mjs';
import { jobs } from './jobs.mjs';
import { assertClean, endedWell, underWatch } from './invariants.mjs';

/// Whether the whole campaign was asked for.
export const isLong = process.env.ORVEL_TEST_LONG === '1';

async function reported(scene, job, code, watch) {
  const { user, screen } = scene;
  const message = `De OS-server is gestopt (code ${code}). Zie ~/orvel-os/v3/.local/server.log. ` +
    'Herstarten met ⌘R.';
  const text = await screen.awaitPageText((page) => page.endsWith(message));
  assert.equal(text, `Orvel OS\n${message}`);
  await job.nothingCame?.(scene);
  user.root.setBehaviour({});
  const painted = user.root.reported('painted').length;
  await watch.allowing(async () => {
    await screen.pressKeys('ctrl+r');
    await user.root.awaitStarted(2);
  });
  await user.root.awaitPainted(painted + 1);
}

async function meet(scene, job, outcome, watch) {
  if (outcome === 'goes on') {
    await job.finish(scene);
  } else if (outcome === 'ends') {
    await endedWell(scene.user, scene.run);
    await job.nothingCame?.(scene);
  } else if (outcome !== 'stands') {
    await reported(scene, job, outcome.split(' ')[1], watch);
  }
}

async function play(scene, name, blow, t) {
  const job = jobs[name];
  const { user, screen } = scene;
  try {
    await job.begin(scene);
    const { run } = scene;
    await underWatch(screen, run, t, {}, async (watch) => {
      await job.enter?.(scene);
      // A server that is starting keeps the main thread until it has been started.
      await blow.strike(scene);
      await meet(scene, job, blow.outcomes[name], watch);
    });
    if (!run.exit) {
      // By signal: a panel may have the keyboard.
      process.kill(run.pid, 'SIGTERM');
      await endedWell(user, run);
    }
  } finally {
    scene.server?.close();
  }
  await assertClean(user);
}

/// Whether a cell of the table is there, and is played in this form.
export const isPlayed = (blow, name) =>
  blow.outcomes[name] !== undefined && (isLong || blow.short.includes(name));

/// Declares the test of one cell of the table.
export function cell(test, title, blow, name) {
  test(`${name}: ${title}`, {}, async (user, screen, t) => {
    const scene = { user, screen, options: {} };
    if (!blow.onBus) return play(scene, name, blow, t);
    return withSessionBus(async (environment, bus) => {
      Object.assign(scene, { bus, options: { environment } });
      await play(scene, name, blow, t);
    });
  });
}
