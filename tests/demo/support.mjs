// Starts the demo server on a free port and talks to it.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import http from 'node:http';
import net from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

export const SERVER = fileURLToPath(new URL('../../demo/v3/server.mjs', import.meta.url));

/// Spawns the server; its output is gathered in `out` and `err`.
export function launch(env) {
  const child = spawn(process.execPath, [SERVER], { env: { ...process.env, ...env } });
  const run = { child, out: '', err: '', exited: once(child, 'close') };
  child.stdout.on('data', (data) => { run.out += data; });
  child.stderr.on('data', (data) => { run.err += data; });
  return run;
}

/// A server that listens, with its record; `stop` ends it and clears up.
export async function start(env = {}) {
  const folder = mkdtempSync(join(tmpdir(), 'orvel-demo-'));
  const path = join(folder, 'record.jsonl');
  const run = launch({ PORT: '0', ORVEL_DEMO_RECORD: path, ...env });
  await Promise.race([once(run.child.stdout, 'data'), run.exited]);
  if (run.child.exitCode !== null) throw new Error(`the server did not start: ${run.err}`);
  const record = () => readFileSync(path, 'utf8').trim().split('\n').map((line) => JSON.parse(line));
  const { port } = record().find(({ event }) => event === 'listening');
  return {
    ...run,
    folder,
    record,
    port,
    get: (target, headers = {}, method = 'GET', body) => ask(port, target, { headers, method, body }),
    raw: (text) => raw(port, text),
    async stop() {
      if (run.child.exitCode === null && run.child.signalCode === null) run.child.kill('SIGKILL');
      await run.exited;
      rmSync(folder, { recursive: true });
    },
  };
}

/// One request on a connection of its own: status, headers and body as text.
function ask(port, target, { headers, method, body }) {
  return new Promise((resolve, reject) => {
    const options = { host: '127.0.0.1', port, path: target, method, headers, agent: false };
    const request = http.request(options, (response) => {
      let text = '';
      response.setEncoding('utf8');
      response.on('data', (data) => { text += data; });
      response.on('end', () => resolve({ status: response.statusCode, headers: response.headers, text }));
      response.on('error', reject);
    });
    request.on('error', reject);
    request.end(body);
  });
}

/// Sends bytes as they are and gives all that comes back.
function raw(port, text) {
  return new Promise((resolve) => {
    let answer = '';
    const socket = net.connect(port, '127.0.0.1', () => socket.write(text));
    socket.setEncoding('utf8');
    socket.on('data', (data) => { answer += data; });
    socket.on('error', () => {});
    socket.on('close', () => resolve(answer));
  });
}
