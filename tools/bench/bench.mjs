// Measures the application and other viewers, and writes the results to a JSON file. In each
// round every viewer is measured once.
//
//   node bench.mjs APPLICATION PROGRAMS RESULTS [quick]

import { mkdirSync, readFileSync, rmSync, statfsSync, writeFileSync } from 'node:fs';
import { cpus, getPriority, loadavg, tmpdir, totalmem } from 'node:os';
import { dirname } from 'node:path';

import { Screen } from '../../tests/support/desktop/screen.mjs';
import {
  measureColdStart, measureMainLoop, measureQuietMinute, measureReadyStart,
} from './startup.mjs';
import * as transfers from './transfers.mjs';
import { listViewers } from './viewers.mjs';

const [application, programs, resultsFile, mode] = process.argv.slice(2);
const rounds = mode === 'quick'
  ? { starts: 1, minutes: 0, loops: 1, transfers: 0, updates: 0 }
  : { starts: 10, minutes: 2, loops: 3, transfers: 4, updates: 6 };

/// Returns a folder in memory if it has enough free space, so that the speed of the disk does not
/// count. Otherwise returns the temporary folder.
function scratchFolder() {
  const needed = 12 * 1024 ** 3;
  try {
    const { bavail, bsize } = statfsSync('/dev/shm');
    if (bavail * bsize > needed) return '/dev/shm';
  } catch {
    // This system has no /dev/shm.
  }
  return tmpdir();
}

const size = { width: 1280, height: 800 };
const screen = await Screen.open(size);
const bench = { application, programs, screen, size, scratch: scratchFolder() };
const viewers = listViewers({ application, programs, chromium: process.env.ORVEL_BENCH_CHROMIUM });
const [ours, , tuned] = viewers;
const results = {
  date: new Date().toISOString().slice(0, 10),
  machine: { processor: cpus()[0].model, cores: cpus().length, memory: totalmem(),
    kernel: readFileSync('/proc/version', 'utf8').split(' ')[2], scratch: bench.scratch },
  asRoot: process.getuid() === 0,
  niceness: getPriority(),
  rounds, load: [], names: viewers.map(({ name }) => name),
  ready: {}, cold: {}, minute: {}, loops: {}, transfers: {}, failures: [],
};

function store(table, name, value) {
  (results[table][name] ??= []).push(value);
  writeFileSync(resultsFile, JSON.stringify(results, null, 1));
}

/// Measures once and stores the result of `body`, or null when it fails.
async function measure(table, name, body) {
  results.load.push(Math.round(loadavg()[0] * 10) / 10);
  let value = null;
  try {
    value = await body();
  } catch (error) {
    results.failures.push(`${table}, ${name}: ${error.message}`);
  }
  console.log(`bench: ${table}, ${name}: ${JSON.stringify(value)}`);
  store(table, name, value);
}

/// Measures two transfers, in alternating order: the first one also takes the time in which a
/// virtual machine gets memory from its host.
async function measureTransfers(round, pair, archive) {
  for (const [name, transfer] of round % 2 === 0 ? pair : pair.reverse()) {
    await measure('transfers', name, () => transfer(bench, archive));
  }
}

mkdirSync(dirname(resultsFile), { recursive: true });
try {
  for (let round = 0; round < rounds.starts; round += 1) {
    // Each round begins with another viewer.
    for (let index = 0; index < viewers.length; index += 1) {
      const viewer = viewers[(index + round) % viewers.length];
      await measure('ready', viewer.name, () => measureReadyStart(bench, viewer));
      await measure('cold', viewer.name, () => measureColdStart(bench, viewer));
    }
  }
  for (let round = 0; round < rounds.loops; round += 1) {
    await measure('loops', 'ready', () => measureMainLoop(bench, ours));
    await measure('loops', 'cold', () => measureMainLoop(bench, ours, { cold: true }));
    await measure('loops', 'bare', () => measureMainLoop(bench, tuned));
  }
  const { largeByApplication, largeByCurl, smallByApplication, smallByCurl } = transfers;
  for (let round = 0; round < rounds.transfers; round += 1) {
    await measureTransfers(round, [['large', largeByApplication], ['large, curl', largeByCurl]]);
    await measureTransfers(round, [['small', smallByApplication], ['small, curl', smallByCurl]]);
    await measure('transfers', 'small, curl, new connections',
      () => smallByCurl(bench, { reuse: false }));
  }
  if (rounds.updates > 0) {
    const { updateByApplication, updateByTools } = transfers;
    const archive = await transfers.createArchive(bench, 200 << 20);
    try {
      for (let round = 0; round < rounds.updates; round += 1) {
        await measureTransfers(round,
          [['update', updateByApplication], ['update, tools', updateByTools]], archive.path);
      }
    } finally {
      rmSync(archive.folder, { recursive: true, force: true });
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
