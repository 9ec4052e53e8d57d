// How long the main loop of a GLib program stands still while it starts.

import { readFileSync } from 'node:fs';
import { join } from 'node:path';

import { Home } from './viewers.mjs';
import { showAlone, startServer } from './startup.mjs';

/// The stretches that loop_watch.cc writes down.
export function readStretches(text) {
  return text.split('\n').filter(Boolean).map((line) => {
    const [at, length, waited, worked] = line.split(' ').map(Number);
    return { at, length, waited, worked };
  });
}

/// The first stretch, which ends when the window has been made and the launch is
/// over; the longest of those that follow; and all that was spent waiting.
export function summary([launch, ...later]) {
  return {
    launch: launch.worked,
    later: Math.max(0, ...later.map(({ worked }) => worked)),
    waited: [launch, ...later].reduce((sum, { waited }) => sum + waited, 0),
  };
}

/// Of one start until the page is there, with or without a server to start.
export async function watchLoop(bench, contender, { cold = false } = {}) {
  const home = new Home(bench.screen);
  const file = join(home.folder, 'stretches');
  // By way of env, which alone is to start the program so.
  const watched = {
    ...contender,
    command: (...about) => ['env', `LD_PRELOAD=${join(bench.programs, 'libmain_loop_stalls.so')}`,
      `ORVEL_LOOP_WATCH=${file}`, ...contender.command(...about)],
  };
  let server;
  try {
    if (!cold) {
      server = await startServer(bench.programs, home, { host: '127.0.0.2', port: bench.port });
    }
    const address = cold ? null : `http://127.0.0.2:${bench.port}/`;
    await showAlone(bench, watched, home, address);
    return summary(readStretches(readFileSync(file, 'utf8')));
  } finally {
    await server?.tree.kill();
    home.remove();
  }
}

