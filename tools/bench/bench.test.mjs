// What the measurements stand on: arithmetic, pixels, the weighing of processes
// and the report.

import assert from 'node:assert/strict';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';

import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { ViewerScreen } from './viewer_screen.mjs';
import { BAND, ELEMENTS, MARK, SCRIPT_SIZE, script } from './pages.mjs';
import { readStretches, summary } from './main_loop.mjs';
import { median, medianRatio, upToProbe } from './statistics.mjs';
import { drawing } from './chart.mjs';
import { replaceMeasured, text, verdicts } from './report.mjs';
import { Tree } from './process_tree.mjs';

const programs = process.env.ORVEL_BENCH_PROGRAMS;

async function inFolder(body) {
  const folder = mkdtempSync(join(tmpdir(), 'orvel bench parts '));
  try {
    return await body(folder);
  } finally {
    rmSync(folder, { recursive: true });
  }
}

const startTree = (folder, ...command) => Tree.start(programs, command, {
  environment: process.env, folder, log: join(folder, 'log'),
});

test('medians leave gaps out, ratios are taken within a round', () => {
  assert.equal(median([3, NaN, 1, 2]), 2);
  assert.equal(median([4, 1, 2, 3]), 2.5);
  assert.ok(Number.isNaN(median([])));
  assert.equal(medianRatio([2, 30, NaN], [1, 10, 5]), 2.5);
  assert.equal(upToProbe(251), 500);
  assert.equal(upToProbe(250), 250);
});

test('the page has the weight that it is said to have', () => {
  assert.ok(Math.abs(script.length - SCRIPT_SIZE) < 1000, `${script.length}`);
  assert.equal(ELEMENTS, 2000);
});

test('a finished page is seen by its pixels, from edge to edge', () => inFolder((folder) => {
  const [width, height, start] = [400, 300, 200];
  const bytes = Buffer.alloc(start + width * height * 4);
  bytes.writeUInt32BE(start, 0);
  [[16, width], [20, height], [48, width * 4], [76, 0]].forEach(([at, value]) =>
    bytes.writeUInt32BE(value, at));
  const paint = (x, y, [red, green, blue]) =>
    bytes.set([blue, green, red], start + (y * width + x) * 4);
  const look = (question) => {
    writeFileSync(join(folder, 'Xvfb_screen0'), bytes);
    const pixels = new ViewerScreen(folder);
    const answer = pixels[question]();
    pixels.close();
    return answer;
  };
  assert.ok(look('isBare'));
  for (const x of [30, 220, 340]) paint(x, 260, MARK);
  assert.ok(!look('showsPage'), 'marks without content');
  for (const x of [30, 200]) paint(x, 140, BAND);
  assert.ok(!look('showsPage'), 'one edge is missing');
  paint(340, 140, BAND);
  assert.ok(look('showsPage'));
  paint(200, 150, BAND);
  assert.ok(!look('isBare'));
}));

test('a tree is weighed with the processes that have left it', () => inFolder(async (folder) => {
  // The middle shell goes at once; its child works, and then stays.
  const work = 'i=0; while [ $i -lt 200000 ]; do i=$((i+1)); done; echo > fertig; exec sleep 60';
  const tree = await startTree(folder, 'sh', '-c', `sh -c '${work}' & exit 0`);
  await waitFor('the end of the work', () => {
    try {
      return readFileSync(join(folder, 'fertig'));
    } catch {
      return null;
    }
  });
  const seen = await waitFor('one process', async () => {
    const look = await tree.look();
    return look.processes.length === 1 && look.processes[0] === 'sleep' ? look : null;
  });
  assert.ok(seen.processor > 20, `processor time ${seen.processor}`);
  assert.ok(seen.memory > 10, `memory ${seen.memory}`);
  await tree.kill();
  assert.equal(tree.child.exitCode, 0);
}));

test('a tree tells the end of its last process', () => inFolder(async (folder) => {
  const tree = await startTree(folder, 'sh', '-c', 'sleep 0.3 & exit 0');
  assert.ok((await tree.ended()) - tree.start >= 300);
}));

test('stretches are told apart from waiting', () => {
  assert.deepEqual(summary(readStretches('0.0 90.0 40.0 45.5\n95.0 30.0 2.0 20.5\n')),
    { launch: 45.5, later: 20.5, waited: 42 });
});

test('the report says which targets are met and keeps the document around it', () => {
  const names = ['Orvel OS', 'bare viewer', 'bare viewer, tuned', 'Chromium --app'];
  const visits = (painted, memory, processor) => [{ painted, memory, processor, node: 60 }];
  const table = { 'Orvel OS': visits(900, 103, 50), 'bare viewer': visits(2000, 200, 90),
    'bare viewer, tuned': visits(1000, 100, 60), 'Chromium --app': visits(899, 300, 49) };
  const found = { names, ready: table, cold: { ...table, 'Orvel OS': visits(1151, 1, 1) },
    minute: { 'Orvel OS': [30], 'bare viewer': [40], 'bare viewer, tuned': [20] }, loops: {},
    transfers: { large: [10], 'large, curl': [8] }, failures: [], load: [1],
    rounds: { starts: 1 }, machine: { memory: 1 }, asRoot: true };
  const words = verdicts(found).map(({ met }) => met);
  assert.deepEqual(words, ['met', 'missed', 'met', 'missed', 'met', 'missed', 'missed',
    'not measured', 'not measured']);
  const first = replaceMeasured('Before.\n', text(found, 'a.svg'));
  assert.match(first, /^Before\.\n/);
  assert.equal(replaceMeasured(`${first}After.\n`, text(found, 'a.svg')), `${first}After.\n`);
  assert.equal(drawing(found).match(/<rect x/g).length, 12);
});
