// The OS server of the tests. It lies as v3/server.mjs in a data root; the file
// behaviour.json beside it tells how it behaves, and everything that happens to
// it becomes a line of JSON in record.jsonl.

import { appendFileSync, existsSync, openSync, readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { answer } from './responses.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const path = join(here, 'behaviour.json');
const read = () => (existsSync(path) ? JSON.parse(readFileSync(path, 'utf8')) : {});
const behaviour = read();

// Open from the start: it goes along when a test takes the folder away.
const recordFile = openSync(join(here, 'record.jsonl'), 'a');

// Written synchronously: whoever sees an answer finds the line already there.
function record(event, details = {}) {
  const line = { event, pid: process.pid, time: Date.now(), ...details };
  appendFileSync(recordFile, `${JSON.stringify(line)}\n`);
}

record('started', { argv: process.argv, cwd: process.cwd(), env: { ...process.env } });
process.stdout.write('woord op de gewone uitvoer\n');
process.stderr.write('woord op de foutuitvoer\n');

for (const signal of ['SIGTERM', 'SIGINT', 'SIGHUP']) {
  process.on(signal, () => {
    record('signal', { signal });
    if (behaviour.ignoresSignals) return;
    setTimeout(() => {
      record('stopped');
      process.exit(0);
    }, behaviour.stopDelay ?? 0);
  });
}

let failedProbes = behaviour.failedProbes ?? 0;

function serve(request, response, body) {
  const { method, url, headers } = request;
  record('request', { method, url, headers, body });
  response.on('close', () => record('responseClosed', { url, whole: response.writableFinished }));
  response.on('chunkSent', () => record('chunkSent', { url }));
  if (behaviour.noReply) return;
  if (behaviour.closesConnection) {
    request.socket.destroy();
  } else if (url === '/api/wie' && failedProbes > 0) {
    failedProbes -= 1;
    response.writeHead(behaviour.refusal ?? 401).end();
  } else {
    answer(request, response, behaviour.live ? read().routes : behaviour.routes);
  }
}

function listen() {
  const server = createServer((request, response) => {
    let body = '';
    request.on('data', (piece) => (body += piece));
    request.on('end', () => serve(request, response, body));
  });
  server.listen(Number(process.env.PORT), '127.0.0.1', () => record('listening'));
}

if (behaviour.exitCode !== undefined) {
  process.exitCode = behaviour.exitCode;
} else if (behaviour.neverListens) {
  setInterval(() => {}, 1000);
} else {
  listen();
}
