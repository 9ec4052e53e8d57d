// Every blow in the middle of every job of an application that is shown a server elsewhere.

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { blows } from './harness/process_faults.mjs';
import { cell, isPlayed } from './harness/scenarios.mjs';
import { jobs } from './harness/jobs.mjs';

const { test } = desktopTests({ usesPort: false });

for (const [title, blow] of Object.entries(blows)) {
  for (const name of Object.keys(jobs).filter((job) => jobs[job].online)) {
    if (isPlayed(blow, name)) cell(test, title, blow, name);
  }
}
