// Stands in for the application: starts the demo server, asks it what the application
// would, and stops it when it is asked to quit. SMOKE tells what it does wrong.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, readFileSync } from 'node:fs';

const { SMOKE, ORVEL_OS_ROOT, ORVEL_DEMO_RECORD } = process.env;
console.log('words of the application');
if (SMOKE === 'ends') process.exit(3);

const server = spawn(process.execPath, [`${ORVEL_OS_ROOT}/v3/server.mjs`],
  { env: { ...process.env, PORT: '4767' }, stdio: 'ignore' });
const ended = once(server, 'exit');
while (!existsSync(ORVEL_DEMO_RECORD) || !readFileSync(ORVEL_DEMO_RECORD, 'utf8').includes('\n')) {
  await new Promise((done) => { setTimeout(done, 20); });
}

process.on('SIGTERM', async () => {
  if (SMOKE === 'leaves') process.exit(0);
  server.kill('SIGTERM');
  await ended;
  process.exit(SMOKE === 'status' ? 4 : 0);
});

const origin = 'http://127.0.0.1:4767';
await fetch(`${origin}/api/wie`, { headers: { 'X-ORVEL-App': 'demo' } });
await fetch(`${origin}/`, { headers: { cookie: 'orvelapp=demo', 'user-agent': 'OrvelOS/1.0' } });
if (SMOKE === 'blank') process.exit(0);
await fetch(`${origin}/api/getoond?pagina=%2F`, { method: 'POST' });
