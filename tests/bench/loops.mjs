// How long the main loop of a GLib program stands still while it starts.

import { readFileSync } from 'node:fs';
import { join } from 'node:path';

import { Home } from './contenders.mjs';
import { showAlone, startServer } from './visit.mjs';

/// The stretches that loop_watch.cc writes down.
export function readStretches(text) {
  return text.split('\n').filter(Boolean).map((line) => {
    const [at, length, waited] = line.split(' ').map(Number);
    return { at, length, waited };
  });
}

/// The longest stretch once the window is made, without what was spent waiting
/// for child processes; and all of that.
export function summary(stretches) {
  const own = stretches.map(({ length, waited }) => length - waited);
  return {
    longest: Math.max(0, ...own),
    waited: stretches.reduce((sum, { waited }) => sum + waited, 0),
  };
}

/// Of one start until the page is there, with or without a server to start.
export async function watchLoop(bench, contender, { cold = false } = {}) {
  const home = new Home(bench.screen);
  const file = join(home.folder, 'stretches');
  const environment = {
    LD_PRELOAD: join(bench.programs, 'libloop_watch.so'), ORVEL_LOOP_WATCH: file,
  };
  let server;
  try {
    if (!cold) {
      server = await startServer(bench.programs, home, { host: '127.0.0.2', port: bench.port });
    }
    const address = cold ? null : `http://127.0.0.2:${bench.port}/`;
    await showAlone({ ...bench, environment }, contender, home, address);
    return summary(readStretches(readFileSync(file, 'utf8')));
  } finally {
    await server?.tree.kill();
    home.remove();
  }
}

