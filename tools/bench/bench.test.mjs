// The parts of the benchmark: statistics, screen checks, process tree and report.

import assert from 'node:assert/strict';
import { existsSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { afterEach, beforeEach, test } from 'node:test';

import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { Framebuffer } from '../../tests/support/image.mjs';
import { BAND, MARK, isEmptyScreen, showsHeavyPage } from './pages.mjs';
import { ProcessTree } from './process_tree.mjs';
import { checkTargets, median, medianRatio, replaceTables, writeTables } from './report.mjs';
import { summarizeStalls } from './startup.mjs';

let folder;
beforeEach(() => { folder = mkdtempSync(join(tmpdir(), 'orvel bench test ')); });
afterEach(() => rmSync(folder, { recursive: true }));

const startTree = (...command) =>
  ProcessTree.start(command, { environment: process.env, folder, log: join(folder, 'log') });

test('medians ignore failed measurements, ratios are taken within a round', () => {
  assert.equal(median([3, NaN, 1, 2]), 2);
  assert.equal(median([4, 1, 2, 3]), 2.5);
  assert.ok(Number.isNaN(median([])));
  assert.equal(medianRatio([2, 30, NaN], [1, 10, 5]), 2.5);
});

test('the heavy page is detected by its pixels from edge to edge', () => {
  const [width, height, start] = [400, 300, 200];
  const file = join(folder, 'framebuffer');
  const bytes = Buffer.alloc(start + width * height * 4);
  bytes.writeUInt32BE(start, 0);
  for (const [at, value] of [[16, width], [20, height], [48, width * 4], [76, 0]]) {
    bytes.writeUInt32BE(value, at);
  }
  const paint = (x, y, [red, green, blue]) =>
    bytes.set([blue, green, red], start + (y * width + x) * 4);
  const check = (condition) => {
    writeFileSync(file, bytes);
    const framebuffer = new Framebuffer(file);
    const result = condition(framebuffer);
    framebuffer.close();
    return result;
  };
  assert.ok(check(isEmptyScreen));
  for (const x of [30, 220, 340]) paint(x, 260, MARK);
  assert.ok(!check(showsHeavyPage), 'marks without the band');
  for (const x of [30, 200]) paint(x, 140, BAND);
  assert.ok(!check(showsHeavyPage), 'one edge is missing');
  paint(340, 140, BAND);
  assert.ok(check(showsHeavyPage));
  paint(200, 150, BAND);
  assert.ok(!check(isEmptyScreen));
});

test('a process tree includes orphaned processes', async () => {
  // The outer shell exits at once; the inner one works and then becomes `sleep`.
  const work = 'i=0; while [ $i -lt 200000 ]; do i=$((i+1)); done; echo > done; exec sleep 60';
  const tree = await startTree('sh', '-c', `sh -c '${work}' & exit 0`);
  await waitFor('the end of the work', () => existsSync(join(folder, 'done')));
  const measured = await waitFor('one process', async () => {
    const result = await tree.measure();
    return result.processes.join() === 'sleep' ? result : null;
  });
  assert.ok(measured.processor > 20, `processor time ${measured.processor}`);
  assert.ok(measured.memory > 10, `memory ${measured.memory}`);
  await tree.kill();
  assert.equal(tree.child.exitCode, 0);
});

test('a process tree reports the exit of its last process', async () => {
  const tree = await startTree('sh', '-c', 'sleep 0.3 & exit 0');
  assert.ok((await tree.ended()) - tree.startTime >= 300);
});

test('stalls are summarised by the launch, the longest later work and the total waiting', () => {
  assert.deepEqual(summarizeStalls('40.0 45.5\n2.0 20.5\n'),
    { launch: 45.5, later: 20.5, waited: 42 });
});

test('the report checks the targets and keeps the rest of the document', () => {
  const names = ['Orvel OS', 'bare viewer', 'bare viewer, tuned', 'Chromium --app'];
  const starts = (painted, memory, processor) => [{ painted, memory, processor, node: 60 }];
  const ready = {
    'Orvel OS': starts(900, 103, 50), 'bare viewer': starts(2000, 200, 90),
    'bare viewer, tuned': starts(1000, 100, 60), 'Chromium --app': starts(899, 300, 49),
  };
  const results = {
    names, ready, cold: { ...ready, 'Orvel OS': starts(1151, 1, 1) },
    minute: { 'Orvel OS': [30], 'bare viewer': [40], 'bare viewer, tuned': [20] }, loops: {},
    transfers: {
      'large': [{ time: 10 }], 'large, curl': [{ time: 8 }],
      'update': [{ time: 20, beforeUnpacking: 5 }], 'update, tools': [{ time: 19 }],
      'update, verified': [{ download: 100, beforeUnpacking: 15 }],
    },
    failures: [], load: [1],
    rounds: { starts: 1 }, machine: { memory: 1 }, asRoot: true,
  };
  assert.deepEqual(checkTargets(results).map(({ result }) => result), ['met', 'missed', 'met',
    'missed', 'met', 'missed', 'missed', 'not measured', 'met', 'met']);
  const tables = writeTables(results);
  const document = replaceTables('Before.\n', tables);
  assert.match(document, /^Before\.\n/);
  assert.equal(replaceTables(`${document}After.\n`, tables), `${document}After.\n`);
});
