import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import http from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { text as textOf } from 'node:stream/consumers';
import { fileURLToPath } from 'node:url';

const program = fileURLToPath(new URL('../../demo/v3/server.mjs', import.meta.url));

/// Starts a server with these additional variables and waits until it listens. In the result,
/// `record()` returns the lines of the server's record, `exited` resolves to the exit status and
/// the signal, one of them null, and `stop()` kills the server and deletes its record.
export async function startServer(environment = {}) {
  const folder = mkdtempSync(join(tmpdir(), 'orvel-demo-'));
  const path = join(folder, 'record.jsonl');
  const env = { ...process.env, PORT: '0', ORVEL_DEMO_RECORD: path, ...environment };
  const child = spawn(process.execPath, [program], { env, stdio: ['ignore', 'pipe', 'inherit'] });
  const exited = once(child, 'close');
  async function stop() {
    child.kill('SIGKILL');
    await exited;
    rmSync(folder, { recursive: true });
  }
  await Promise.race([once(child.stdout, 'data'), exited]);
  if (child.exitCode !== null) throw new Error(`the server exited with ${child.exitCode}`);
  const record = () =>
    readFileSync(path, 'utf8').trim().split('\n').map((line) => JSON.parse(line));
  const { port } = record().find(({ event }) => event === 'listening');

  /// Sends a request on a new connection; returns status, headers and body as text.
  async function get(target, headers = {}, method = 'GET') {
    const options = { host: '127.0.0.1', port, path: target, method, headers, agent: false };
    const request = http.request(options).end();
    const [response] = await once(request, 'response');
    return { status: response.statusCode, headers: response.headers, text: await textOf(response) };
  }
  return { child, exited, port, record, get, stop };
}
