// Compares the starts of two builds of the application, with a server that is already running.
// The builds take turns at being started first.
//
//   node compare_starts.mjs APPLICATION OTHER [ROUNDS]

import { resolve } from 'node:path';

import { Screen } from '../../tests/support/desktop/screen.mjs';
import { median, medianRatio } from './report.mjs';
import { measureReadyStart, screenSize } from './startup.mjs';
import { listViewers } from './viewers.mjs';

const [application, other, rounds = '15'] = process.argv.slice(2);
// The first viewer is the application. The others, which need the folder `programs`, are not used.
const builds = [application, other].map((path) =>
  listViewers({ application: resolve(path), programs: '' })[0]);
/// The results of measureReadyStart, by build.
const starts = [[], []];
const screen = await Screen.open(screenSize);
try {
  for (let round = 0; round < Number(rounds); round += 1) {
    for (const index of round % 2 === 0 ? [0, 1] : [1, 0]) {
      starts[index].push(await measureReadyStart({ screen }, builds[index]));
    }
  }
} finally {
  await screen.close();
}
// The times until the window and the finished page are on the screen, and the processor time.
for (const field of ['window', 'painted', 'processor']) {
  const [ours, others] = starts.map((results) => results.map((result) => result[field]));
  console.log(`${field}: ${median(ours).toFixed(0)} ms and ${median(others).toFixed(0)} ms, ` +
    `median ratio ${medianRatio(ours, others).toFixed(3)}`);
}
