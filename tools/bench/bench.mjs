// Measures the application and other viewers (programs that show a page in a window), and writes
// the results to a JSON file. In each round every viewer is measured once.
//
//   node bench.mjs APPLICATION PROGRAMS RESULTS [MODE]
//
// APPLICATION is an executable, PROGRAMS the folder of what CMakeLists.txt builds, and RESULTS the
// JSON file. ORVEL_BENCH_CHROMIUM is the path of Chromium, or empty to leave it out.
// MODE is "all" by default, "quick" for one round of starts, or "updates" for the updates alone.

import { mkdirSync, readFileSync, rmSync, statfsSync, writeFileSync } from 'node:fs';
import { cpus, getPriority, loadavg, tmpdir, totalmem } from 'node:os';
import { dirname } from 'node:path';

import { Screen } from '../../tests/support/desktop/screen.mjs';
import {
  measureColdStart, measureMainLoop, measureQuietMinute, measureReadyStart, screenSize,
} from './startup.mjs';
import { createRelease, downloads, updates } from './transfers.mjs';
import { listViewers } from './viewers.mjs';

const [application, programs, resultsFile, mode = 'all'] = process.argv.slice(2);
/// The number of rounds of each measurement.
const rounds = {
  all: { starts: 10, minutes: 2, mainLoops: 3, transfers: 4, updates: 6 },
  quick: { starts: 1, minutes: 0, mainLoops: 1, transfers: 0, updates: 0 },
  updates: { starts: 0, minutes: 0, mainLoops: 0, transfers: 0, updates: 6 },
}[mode];

/// Returns a folder in memory if it has enough free space, so that the results do not depend on the
/// speed of the disk. Otherwise returns the temporary folder.
function scratchFolder() {
  const { bavail, bsize } = statfsSync('/dev/shm');
  // Far more than the largest download (4 GiB), because the measured programs need memory too.
  return bavail * bsize > 12 * 1024 ** 3 ? '/dev/shm' : tmpdir();
}

const screen = await Screen.open(screenSize);
const bench = { application, programs, screen, scratch: scratchFolder() };
const viewers = listViewers({ application, programs, chromium: process.env.ORVEL_BENCH_CHROMIUM });
// The application and the tuned bare viewer.
const [ours, , tuned] = viewers;
const results = {
  date: new Date().toISOString().slice(0, 10),
  machine: { processor: cpus()[0].model, cores: cpus().length, memory: totalmem(),
    kernel: readFileSync('/proc/version', 'utf8').split(' ')[2], scratch: bench.scratch },
  asRoot: process.getuid() === 0,
  niceness: getPriority(),
  rounds, loadAverages: [], names: viewers.map(({ name }) => name),
  ready: {}, cold: {}, minute: {}, mainLoops: {}, transfers: {}, failures: [],
};

/// Adds the result of one measurement and writes the file, which is then complete up to here if the
/// benchmark is interrupted.
function store(table, name, value) {
  (results[table][name] ??= []).push(value);
  writeFileSync(resultsFile, JSON.stringify(results, null, 1));
}

/// Measures once and stores the result of `body`, or null when it fails.
async function measure(table, name, body) {
  results.loadAverages.push(Math.round(loadavg()[0] * 10) / 10);
  let value = null;
  try {
    value = await body();
  } catch (error) {
    results.failures.push(`${table}, ${name}: ${error.message}`);
  }
  console.log(`bench: ${table}, ${name}: ${JSON.stringify(value)}`);
  store(table, name, value);
}

/// Returns the list, beginning with another element in each round.
const rotated = (list, round) => list.map((_, index) => list[(index + round) % list.length]);

/// Measures each of these transfers, which have the same content, once. A virtual machine first has
/// to get memory from its host, which slows down the first transfer, so each round begins with
/// another one.
async function measureTransfers(round, transfers, release) {
  for (const [name, transfer] of rotated(Object.entries(transfers), round)) {
    await measure('transfers', name, () => transfer(bench, release));
  }
}

mkdirSync(dirname(resultsFile), { recursive: true });
try {
  for (let round = 0; round < rounds.starts; round += 1) {
    // A start is "ready" when its server already runs, and otherwise "cold".
    for (const viewer of rotated(viewers, round)) {
      await measure('ready', viewer.name, () => measureReadyStart(bench, viewer));
      await measure('cold', viewer.name, () => measureColdStart(bench, viewer));
    }
  }
  for (let round = 0; round < rounds.mainLoops; round += 1) {
    await measure('mainLoops', 'ready', () => measureMainLoop(bench, ours));
    await measure('mainLoops', 'cold', () => measureMainLoop(bench, ours, { cold: true }));
    await measure('mainLoops', 'tuned', () => measureMainLoop(bench, tuned));
  }
  for (let round = 0; round < rounds.transfers; round += 1) {
    for (const transfers of downloads) await measureTransfers(round, transfers);
  }
  if (rounds.updates > 0) {
    const release = createRelease(bench);
    try {
      for (let round = 0; round < rounds.updates; round += 1) {
        await measureTransfers(round, updates, release);
      }
    } finally {
      rmSync(release.folder, { recursive: true, force: true });
    }
  }
  for (let round = 0; round < rounds.minutes; round += 1) {
    const times = await measureQuietMinute(bench, viewers);
    viewers.forEach(({ name }, index) => store('minute', name, times[index]));
    console.log(`bench: quiet minute: ${times.map(Math.round).join(', ')}`);
  }
} finally {
  await screen.close();
}
