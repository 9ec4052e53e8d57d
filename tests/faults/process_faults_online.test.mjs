// Every blow in the middle of every job of an application that is shown a server elsewhere.

import { trialsOn } from '../support/desktop/trial.mjs';
import { blows } from './harness/process_faults.mjs';
import { cell, isPlayed } from './harness/scenarios.mjs';
import { jobs } from './harness/jobs.mjs';

const { trial } = trialsOn({ local: false });

for (const [title, blow] of Object.entries(blows)) {
  for (const name of Object.keys(jobs).filter((job) => jobs[job].online)) {
    if (isPlayed(blow, name)) cell(trial, title, blow, name);
  }
}
