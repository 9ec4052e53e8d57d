// Measures the application beside other viewers, in rounds in which each has its
// turn, and leaves the numbers in a file:
//
//   node bench.mjs APPLICATION PROGRAMS RESULTS [quick]

import { mkdirSync, readFileSync, statfsSync, writeFileSync } from 'node:fs';
import { cpus, getPriority, loadavg, tmpdir, totalmem } from 'node:os';
import { dirname } from 'node:path';

import { Screen } from '../../tests/support/desktop/screen.mjs';
import { contenders } from './viewers.mjs';
import { ViewerScreen } from './viewer_screen.mjs';
import { watchLoop } from './main_loop.mjs';
import * as trials from './transfers.mjs';
import { quietMinute, visitCold, visitReady } from './startup.mjs';

const [application, programs, results, mode] = process.argv.slice(2);
const rounds = mode === 'quick'
  ? { starts: 1, minutes: 0, loops: 1, transfers: 0, updates: 0 }
  : { starts: 10, minutes: 2, loops: 3, transfers: 4, updates: 6 };

/// In memory where there is room: a disk would be measured instead.
function scratchFolder() {
  const needed = 12 * 1024 ** 3;
  try {
    const { bavail, bsize } = statfsSync('/dev/shm');
    if (bavail * bsize > needed) return '/dev/shm';
  } catch {
    // Not every system has it.
  }
  return tmpdir();
}

const size = { width: 1280, height: 800 };
const screen = await Screen.open(size);
const bench = {
  application, programs, screen, size, port: 4801, pixels: new ViewerScreen(screen.folder),
  scratch: scratchFolder(), environment: {},
};
const all = contenders({ application, programs, chromium: process.env.ORVEL_BENCH_CHROMIUM });
const [ours, , tuned] = all;
const found = {
  date: new Date().toISOString().slice(0, 10),
  machine: { processor: cpus()[0].model, cores: cpus().length, memory: totalmem(),
    kernel: readFileSync('/proc/version', 'utf8').split(' ')[2], scratch: bench.scratch },
  asRoot: process.getuid() === 0,
  niceness: getPriority(),
  rounds, load: [], names: all.map(({ name }) => name),
  ready: {}, cold: {}, minute: {}, loops: {}, transfers: {}, failures: [],
};

function keep(table, name, value) {
  (found[table][name] ??= []).push(value);
  writeFileSync(results, JSON.stringify(found, null, 1));
}

/// One measurement; one that fails is told, and leaves a gap in its round.
async function measure(table, name, body) {
  found.load.push(Math.round(loadavg()[0] * 10) / 10);
  let value = null;
  try {
    value = await body();
  } catch (error) {
    found.failures.push(`${table}, ${name}: ${error.message}`);
  }
  console.log(`bench: ${table}, ${name}: ${JSON.stringify(value)}`);
  keep(table, name, value);
}

/// Whoever is first finds memory that the machine has to get from elsewhere.
const inTurn = (round, ...both) => (round % 2 === 0 ? both : both.reverse());

/// Everybody begins a round once.
const turns = (round) => all.map((_, at) => all[(at + round) % all.length]);

mkdirSync(dirname(results), { recursive: true });
try {
  for (let round = 0; round < rounds.starts; round += 1) {
    for (const each of turns(round)) {
      await measure('ready', each.name, () => visitReady(bench, each));
      await measure('cold', each.name, () => visitCold(bench, each));
    }
  }
  for (let round = 0; round < rounds.loops; round += 1) {
    await measure('loops', 'ready', () => watchLoop(bench, ours));
    await measure('loops', 'cold', () => watchLoop(bench, ours, { cold: true }));
    await measure('loops', 'bare', () => watchLoop(bench, tuned));
  }
  for (let round = 0; round < rounds.transfers; round += 1) {
    for (const [name, trial] of [
      ...inTurn(round, ['large', trials.largeByApplication], ['large, curl', trials.largeByCurl]),
      ...inTurn(round, ['small', trials.smallByApplication], ['small, curl', trials.smallByCurl]),
      ['small, curl anew', () => trials.smallByCurl(bench, { reuse: false })],
    ]) {
      await measure('transfers', name, () => trial(bench));
    }
  }
  if (rounds.updates > 0) {
    const archive = await trials.makeArchive(bench, 200 << 20);
    try {
      for (let round = 0; round < rounds.updates; round += 1) {
        for (const [name, trial] of inTurn(round, ['update', trials.updateByApplication],
          ['update, tools', trials.updateByTools])) {
          await measure('transfers', name, () => trial(bench, archive.path));
        }
      }
    } finally {
      trials.removeFolder(archive.folder);
    }
  }
  for (let round = 0; round < rounds.minutes; round += 1) {
    const times = await quietMinute(bench, all);
    all.forEach(({ name }, at) => keep('minute', name, times[at]));
    console.log(`bench: quiet minute: ${times.map(Math.round).join(', ')}`);
  }
} finally {
  await screen.close();
}
