// What a server of the tests answers, told in plain data by the test:
//   status, headers, body   the parts of an answer
//   page     HTML for a page that tells what happens to it
//   bytes    a body of so many zero bytes
//   gate     the second half of the body waits until a file of this name exists
//   endless    the body never ends; each piece that has left is an event "chunkSent"
//   cut      the connection ends where half of the body is missing
//   truncatedChunk the same in the middle of a chunk
//   reset    the connection is reset before an answer
//   fields   so many header fields more
//   trickle  a byte of the body a second until a file of this name exists
//   logs     so many bytes go into the server's log first
//   silent   nothing is answered at all

import { existsSync, writeSync } from 'node:fs';

import { page, pageWith } from './page.mjs';

const html = { 'content-type': 'text/html; charset=utf-8', 'cache-control': 'no-store' };

function streamZeros(response, size) {
  const piece = Buffer.alloc(1 << 20);
  let left = size;
  const more = () => {
    while (left > 0 && !response.destroyed) {
      const now = Math.min(left, piece.length);
      left -= now;
      if (!response.write(now === piece.length ? piece : piece.subarray(0, now))) return;
    }
    if (left === 0) response.end();
  };
  response.on('drain', more);
  more();
}

/// Does something again and again until the answer is over.
function whileAnswering(response, every, step) {
  const timer = setInterval(step, every);
  response.on('close', () => clearInterval(timer));
}

function trickle(response, body, gate) {
  let sent = 0;
  whileAnswering(response, 1000, () => {
    if (sent < body.length) response.write(body.subarray(sent, (sent += 1)));
    response.emit('chunkSent');
  });
  whileAnswering(response, 10, () => {
    if (existsSync(gate)) response.end(body.subarray(sent));
  });
}

function writeLog(size) {
  const line = Buffer.alloc(1 << 16, 'vloed ');
  for (let left = size; left > 0; left -= line.length) writeSync(1, line);
}

const manyFields = (count) =>
  Object.fromEntries(Array.from({ length: count }, (_, at) => [`x-veld-${at}`, String(at)]));

function answerRoute(response, route) {
  if (route.noReply) return;
  if (route.logBytes) writeLog(route.logBytes);
  if (route.reset) {
    response.socket.resetAndDestroy();
    return;
  }
  const body = Buffer.from(route.page === undefined ? route.body ?? '' : pageWith(route.page));
  const half = body.subarray(0, body.length / 2);
  const length = { 'content-length': route.zeroBytes ?? body.length };
  response.writeHead(route.status ?? 200, {
    ...(route.page === undefined ? {} : html),
    ...(route.endless || route.truncatedChunk ? {} : length),
    ...manyFields(route.headerFields ?? 0),
    ...route.headers,
  });
  if (route.zeroBytes !== undefined) {
    streamZeros(response, route.zeroBytes);
  } else if (route.endless) {
    whileAnswering(response, 5, () =>
      response.write(Buffer.alloc(1 << 18), () => response.emit('chunkSent')));
  } else if (route.truncated) {
    response.write(half, () => response.destroy());
  } else if (route.truncatedChunk) {
    response.flushHeaders();
    response.socket.end(`${body.length.toString(16)}\r\n${half}`);
  } else if (route.trickle) {
    trickle(response, body, route.trickle);
  } else if (route.gate) {
    response.write(half);
    whileAnswering(response, 10, () => {
      if (existsSync(route.gate)) response.end(body.subarray(half.length));
    });
  } else {
    response.end(body);
  }
}

/// Answers a request by the first that fits: the test's own answer for its
/// path, "yes" to whatever is told or asked of the server, the page.
export function answer({ method, url }, response, routes = {}) {
  const route = routes[url] ?? routes[url.split('?')[0]];
  if (route) {
    answerRoute(response, route);
  } else if (method === 'POST' || url === '/api/wie') {
    response.writeHead(200, { 'content-type': 'application/json' }).end('{}');
  } else if (url === '/') {
    response.writeHead(200, html).end(page);
  } else {
    response.writeHead(404).end();
  }
}
