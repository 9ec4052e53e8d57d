// A stand-in for the server of the web application. Records when it listens, its requests and the
// load event of the heavy page, one line of JSON each. The environment variables are
//
//   PORT, ORVEL_BENCH_HOST    the address to listen on
//   ORVEL_BENCH_RECORD        the file of the record
//   ORVEL_BENCH_PAGE          the page of pages.mjs at "/": heavy (default), large or small
//   ORVEL_BENCH_MANIFEST      the text of the manifest of the offered release, if any
//   ORVEL_BENCH_ARCHIVE       the path of the archive of that release
//   ORVEL_BENCH_MEGABITS      the rate at which the archive is sent, in Mbit/s; by default unlimited

import { appendFileSync, createReadStream, statSync } from 'node:fs';
import { createServer } from 'node:http';
import { pipeline } from 'node:stream';
import { setTimeout as pause } from 'node:timers/promises';

import * as pages from './pages.mjs';

const {
  PORT, ORVEL_BENCH_HOST, ORVEL_BENCH_RECORD, ORVEL_BENCH_MANIFEST, ORVEL_BENCH_ARCHIVE,
  ORVEL_BENCH_MEGABITS = 'Infinity',
} = process.env;
const page = {
  heavy: pages.heavyPage, large: pages.largeFilePage, small: pages.smallFilesPage,
}[process.env.ORVEL_BENCH_PAGE ?? 'heavy'];
const block = Buffer.alloc(1 << 20, 'orvel');
/// The responses that stream an event for each sent small file.
const eventStreams = new Set();

function record(event, details = {}) {
  const time = performance.timeOrigin + performance.now();
  appendFileSync(ORVEL_BENCH_RECORD, `${JSON.stringify({ time, event, ...details })}\n`);
}

function send(response, type, body) {
  response.writeHead(200, { 'Content-Type': type, 'Content-Length': Buffer.byteLength(body) });
  response.end(body);
}

/// Sends the large file as fast as the client reads it.
function sendLargeFile(response) {
  let left = pages.LARGE_FILE_SIZE;
  response.writeHead(200, { 'Content-Type': 'application/octet-stream', 'Content-Length': left });
  const write = () => {
    while (left > 0) {
      const chunk = block.subarray(0, Math.min(left, block.length));
      left -= chunk.length;
      if (!response.write(chunk)) return;
    }
    response.end();
  };
  response.on('drain', write);
  write();
}

function sendSmallFile(response, number) {
  if (number === '0') record('first small file');
  response.on('finish', () => {
    for (const stream of eventStreams) stream.write('data: 1\n\n');
  });
  response.writeHead(200, {
    'Content-Type': 'application/octet-stream', 'Content-Length': pages.SMALL_FILE_SIZE,
    'Content-Disposition': `attachment; filename="${number}.bin"`,
  });
  response.end(block.subarray(0, pages.SMALL_FILE_SIZE));
}

/// Keeps the response open, and sends an event for each small file that has been sent.
function streamSentFiles(response) {
  response.writeHead(200, { 'Content-Type': 'text/event-stream' });
  response.flushHeaders();
  eventStreams.add(response);
  response.on('close', () => eventStreams.delete(response));
}

/// Yields the chunks at the rate ORVEL_BENCH_MEGABITS. When a timer fires late or the client does
/// not read, the following chunks make up for at most 20 ms of the delay (token bucket).
async function* limitRate(chunks) {
  const bytesPerMillisecond = Number(ORVEL_BENCH_MEGABITS) * 1e6 / 8 / 1000;
  let due = performance.now();
  for await (const chunk of chunks) {
    due = Math.max(due, performance.now() - 20) + chunk.length / bytesPerMillisecond;
    const delay = due - performance.now();
    if (delay > 0) await pause(delay);
    yield chunk;
  }
}

/// Sends the archive and then records that it has been sent.
function sendArchive(response) {
  response.writeHead(200, { 'Content-Length': statSync(ORVEL_BENCH_ARCHIVE).size });
  const file = createReadStream(ORVEL_BENCH_ARCHIVE, { highWaterMark: 1 << 20 });
  // Ignores an error: a client may close the connection after the last byte, before the response
  // has finished.
  pipeline(file, limitRate, response, () => record('archive sent'));
}

const server = createServer((request, response) => {
  const { pathname, search, searchParams } = new URL(request.url, 'http://os');
  // Of the requests of small files, sendSmallFile records the first only.
  if (pathname !== '/api/export') record('request', { url: pathname });
  if (pathname === '/') return send(response, 'text/html; charset=utf-8', page);
  if (pathname === '/os.js') return send(response, 'text/javascript', pages.heavyScript);
  if (pathname === '/style.css') return send(response, 'text/css', pages.heavyStyle);
  // The application asks for this path to learn whether the server is ready.
  if (pathname === '/api/wie') return send(response, 'application/json', '{}');
  if (pathname === '/bench/loaded') {
    record('load', { loadTime: Number(searchParams.get('time')) });
    return send(response, 'text/plain', '');
  }
  if (pathname === '/bench/sent') return streamSentFiles(response);
  if (pathname === '/api/bestand/large.bin') return sendLargeFile(response);
  if (pathname === '/api/export') return sendSmallFile(response, search.slice(1));
  if (pathname === '/download/linux.json' && ORVEL_BENCH_MANIFEST) {
    return send(response, 'application/json', ORVEL_BENCH_MANIFEST);
  }
  if (pathname === '/download/os.zip' && ORVEL_BENCH_ARCHIVE) return sendArchive(response);
  response.writeHead(404).end();
});

// Long, so that a client rarely has to connect again.
server.keepAliveTimeout = 60_000;
server.listen({ port: Number(PORT), host: ORVEL_BENCH_HOST ?? '127.0.0.1', backlog: 4096 }, () => {
  record('listening');
});
process.on('SIGTERM', () => process.exit(0));
