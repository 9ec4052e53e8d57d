// The OS server of the tests, installed as v3/server.mjs in a data root. The file
// behaviour.json beside it sets its behaviour:
//   routes            responses for paths (responses.mjs), read again for each response
//   closesConnection  each request's connection is closed without a response
//   ignoresSignals    SIGTERM, SIGINT and SIGHUP are ignored
//   stopDelay         time in ms from one of these signals to the exit
//   exitCode          the server exits at once with this code
// The server writes each event as a line of JSON to record.jsonl.

import { appendFileSync, existsSync, openSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { createHttpServer, respond } from './responses.mjs';

const serverFolder = dirname(fileURLToPath(import.meta.url));
const behaviourPath = join(serverFolder, 'behaviour.json');
const readBehaviour = () =>
  (existsSync(behaviourPath) ? JSON.parse(readFileSync(behaviourPath, 'utf8')) : {});
const behaviour = readBehaviour();

// Stays open, so that recording works after a test has moved the folder.
const recordFile = openSync(join(serverFolder, 'record.jsonl'), 'a');

// Synchronous, so that the line is in the file before the client gets its response.
function record(event, details = {}) {
  const line = { event, pid: process.pid, time: Date.now(), ...details };
  appendFileSync(recordFile, `${JSON.stringify(line)}\n`);
}

record('started', { argv: process.argv, cwd: process.cwd(), env: { ...process.env } });
process.stdout.write('line on standard output\n');
process.stderr.write('line on standard error\n');

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

/// Records and answers a request. `request` is a plain object with method, url, headers and body.
function serve(request, response) {
  const { url } = request;
  record('request', request);
  response.on('close', () => record('responseClosed', { url }));
  response.on('chunkSent', () => record('chunkSent', { url }));
  if (behaviour.closesConnection) {
    response.destroy();
  } else {
    respond(request, response, readBehaviour().routes);
  }
}

if (behaviour.exitCode !== undefined) {
  process.exitCode = behaviour.exitCode;
} else {
  createHttpServer(serve)
    .listen(Number(process.env.PORT), '127.0.0.1', () => record('listening'));
}
