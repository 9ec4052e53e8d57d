// The OS server of the measurements. It writes down when it listens, what it is
// asked for and what the page tells it, one line of JSON each.
//
//   PORT, ORVEL_BENCH_HOST    where it listens
//   ORVEL_BENCH_RECORD        the file of its record
//   ORVEL_BENCH_PAGE          the page at "/": heavy, large or small
//   ORVEL_BENCH_ARCHIVE       the archive of the release that it offers, if any

import { appendFileSync, createReadStream, statSync } from 'node:fs';
import { createServer } from 'node:http';

import * as heavy from './pages.mjs';
import { LARGE, SMALL, largePage, smallPage } from './transfer_pages.mjs';

const { PORT, ORVEL_BENCH_HOST, ORVEL_BENCH_RECORD, ORVEL_BENCH_ARCHIVE } = process.env;
const page = { heavy: heavy.page, large: largePage, small: smallPage }[
  process.env.ORVEL_BENCH_PAGE ?? 'heavy'];
const block = Buffer.alloc(1 << 20, 'orvel');
const listeners = new Set();

const record = (event, more = {}) => {
  const time = performance.timeOrigin + performance.now();
  appendFileSync(ORVEL_BENCH_RECORD, `${JSON.stringify({ time, event, ...more })}\n`);
};

function send(response, type, body) {
  response.writeHead(200, { 'Content-Type': type, 'Content-Length': Buffer.byteLength(body) });
  response.end(body);
}

/// The large file, as fast as the other side takes it.
function sendLarge(response, size) {
  response.writeHead(200, { 'Content-Type': 'application/octet-stream', 'Content-Length': size });
  let left = size;
  const more = () => {
    while (left > 0) {
      const piece = left < block.length ? block.subarray(0, left) : block;
      left -= piece.length;
      if (!response.write(piece)) return;
    }
    response.end();
  };
  response.on('drain', more);
  more();
}

function sendSmall(response, number) {
  if (number === '0') record('small');
  response.on('finish', () => {
    for (const listener of listeners) listener.write('data: 1\n\n');
  });
  response.writeHead(200, {
    'Content-Type': 'application/octet-stream', 'Content-Length': SMALL,
    'Content-Disposition': `attachment; filename="${number}.bin"`,
  });
  response.end(block.subarray(0, SMALL));
}

/// Streams a line for each small file that has been sent, so that the page can
/// ask for the next.
function tellOfFiles(response) {
  response.writeHead(200, { 'Content-Type': 'text/event-stream' });
  response.flushHeaders();
  listeners.add(response);
  response.on('close', () => listeners.delete(response));
}

const server = createServer((request, response) => {
  const { pathname, search, searchParams } = new URL(request.url, 'http://os');
  if (pathname !== '/api/export') record('request', { url: pathname });
  if (pathname === '/') return send(response, 'text/html; charset=utf-8', page);
  if (pathname === '/os.js') return send(response, 'text/javascript', heavy.script);
  if (pathname === '/stijl.css') return send(response, 'text/css', heavy.style);
  if (pathname === '/api/wie') return send(response, 'application/json', '{}');
  if (pathname === '/bench/geladen') {
    record('load', { at: Number(searchParams.get('om')) });
    return send(response, 'text/plain', '');
  }
  if (pathname === '/bench/verzonden') return tellOfFiles(response);
  if (pathname.startsWith('/api/bestand/groot')) return sendLarge(response, LARGE);
  if (pathname === '/api/export') return sendSmall(response, search.slice(1));
  if (pathname === '/download/linux.json' && ORVEL_BENCH_ARCHIVE) {
    return send(response, 'application/json', JSON.stringify({ versie: '99', zip: 'os.zip' }));
  }
  if (pathname === '/download/os.zip' && ORVEL_BENCH_ARCHIVE) {
    response.writeHead(200, { 'Content-Length': statSync(ORVEL_BENCH_ARCHIVE).size });
    return createReadStream(ORVEL_BENCH_ARCHIVE, { highWaterMark: 1 << 20 }).pipe(response);
  }
  response.writeHead(404).end();
});

server.keepAliveTimeout = 60_000;
server.listen({ port: Number(PORT), host: ORVEL_BENCH_HOST ?? '127.0.0.1', backlog: 4096 }, () => {
  record('listening');
});
process.on('SIGTERM', () => process.exit(0));
