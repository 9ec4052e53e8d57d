// Stands in for the application in the tests of smoke-macos.sh: starts the demo server, sends
// the requests that the application sends, and stops the server on SIGTERM. The environment
// variable FAULT selects a fault:
//
//   early-exit     exits with status 3 before the server starts
//   no-page        exits before the page reports that it is painted
//   exit-status    quits with status 4
//   orphan         quits without stopping the server

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, readFileSync } from 'node:fs';

import { waitFor } from '../support/desktop/wait.mjs';

const { FAULT, ORVEL_OS_ROOT, ORVEL_DEMO_RECORD } = process.env;
console.log('output of the application');
if (FAULT === 'early-exit') process.exit(3);

const server = spawn(process.execPath, [`${ORVEL_OS_ROOT}/v3/server.mjs`],
  { env: { ...process.env, PORT: '4767' }, stdio: 'ignore' });
const exited = once(server, 'exit');
// The first line of the record says that the server listens.
await waitFor('a line in the record of the server', () =>
  existsSync(ORVEL_DEMO_RECORD) && readFileSync(ORVEL_DEMO_RECORD, 'utf8').includes('\n'));

process.on('SIGTERM', async () => {
  if (FAULT === 'orphan') process.exit(0);
  server.kill('SIGTERM');
  await exited;
  process.exit(FAULT === 'exit-status' ? 4 : 0);
});

// The readiness probe, the page request, and the page's report that it is painted.
const origin = 'http://127.0.0.1:4767';
await fetch(`${origin}/api/wie`, { headers: { 'X-ORVEL-App': 'demo' } });
await fetch(`${origin}/`, { headers: { cookie: 'orvelapp=demo', 'user-agent': 'OrvelOS/1.0' } });
if (FAULT === 'no-page') process.exit(0);
await fetch(`${origin}/api/getoond?pagina=%2F`, { method: 'POST' });
