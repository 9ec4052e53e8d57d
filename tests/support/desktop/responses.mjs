// Responses of the test servers. A test describes each as plain data, its route:
//   status, headers, body   the parts of the response
//   page            HTML for the body of a test page
//   gate            path of a file; the second half of the body waits for its creation
//   endless         the body never ends
//   truncated       the connection closes after half of the body
//   truncatedChunk  the connection closes in the middle of a chunk
//   reset           the connection is reset before the response
//   headerFields    number of additional header fields, x-field-0 and so on
//   trickle         path of a file; one byte a second is sent until its creation
//   logBytes        number of bytes that go into the server's log first
//   noReply         no response at all
// A response emits "chunkSent" for each chunk of an endless or slow body, and for the first half
// of a body with a gate.

import { existsSync, writeSync } from 'node:fs';
import { createServer } from 'node:http';

import { fieldPage, pageWith } from './page.mjs';

/// Returns a route to a CSV file.
export const csvRoute = (body = 'one;two\n') => ({ headers: { 'content-type': 'text/csv' }, body });

/// The size in bytes of the chunks of an endless body.
const endlessChunkSize = 256 << 10;

const htmlHeaders = { 'content-type': 'text/html; charset=utf-8', 'cache-control': 'no-store' };

/// Calls `step` every `interval` ms until the response has closed.
function repeatUntilClosed(response, interval, step) {
  const timer = setInterval(step, interval);
  response.on('close', () => clearInterval(timer));
}

/// Ends the response with the text that `rest` returns once the file `gate` exists.
function endWhenGateExists(response, gate, rest) {
  repeatUntilClosed(response, 10, () => {
    if (existsSync(gate)) response.end(rest());
  });
}

/// Sends one byte a second, and the rest of the body once the file `gate` exists.
function sendTrickle(response, body, gate) {
  let sent = 0;
  repeatUntilClosed(response, 1000, () => {
    if (sent < body.length) {
      response.write(body.subarray(sent, sent + 1));
      sent += 1;
      response.emit('chunkSent');
    }
  });
  endWhenGateExists(response, gate, () => body.subarray(sent));
}

/// Writes to standard output, which the application redirects to the server's log.
function floodLog(size) {
  const block = Buffer.alloc(1 << 16, 'flood ');
  for (let remaining = size; remaining > 0; remaining -= block.length) {
    writeSync(process.stdout.fd, block);
  }
}

const numberedFields = (count) =>
  Object.fromEntries(Array.from({ length: count }, (_, index) => [`x-field-${index}`, `${index}`]));

function sendRoute(response, route) {
  if (route.noReply) return;
  if (route.logBytes) floodLog(route.logBytes);
  if (route.reset) {
    response.socket.resetAndDestroy();
    return;
  }
  const body = Buffer.from(route.page === undefined ? route.body ?? '' : pageWith(route.page));
  const chunkSent = () => response.emit('chunkSent');
  const half = body.subarray(0, body.length / 2);
  response.writeHead(route.status ?? 200, {
    ...(route.page === undefined ? {} : htmlHeaders),
    ...(route.endless || route.truncatedChunk ? {} : { 'content-length': body.length }),
    ...numberedFields(route.headerFields ?? 0),
    ...route.headers,
  });
  if (route.endless) {
    repeatUntilClosed(response, 5, () => {
      if (!response.writableNeedDrain) response.write(Buffer.alloc(endlessChunkSize), chunkSent);
    });
  } else if (route.truncated) {
    response.write(half, () => response.destroy());
  } else if (route.truncatedChunk) {
    response.flushHeaders();
    response.socket.end(`${body.length.toString(16)}\r\n${half}`);
  } else if (route.trickle) {
    sendTrickle(response, body, route.trickle);
  } else if (route.gate) {
    response.write(half, chunkSent);
    endWhenGateExists(response, route.gate, () => body.subarray(half.length));
  } else {
    response.end(body);
  }
}

/// Responds with the test's route for the path. Without a route a probe (/api/wie) or report (POST)
/// gets 200, "/" the page with a text field, and every other path 404.
export function respond({ method, url }, response, routes = {}) {
  const route = routes[url] ?? routes[url.split('?')[0]];
  if (route) {
    sendRoute(response, route);
  } else if (method === 'POST' || url === '/api/wie') {
    response.writeHead(200, { 'content-type': 'application/json' }).end('{}');
  } else if (url === '/') {
    response.writeHead(200, htmlHeaders).end(fieldPage);
  } else {
    response.writeHead(404).end();
  }
}

/// Creates a server that calls `handle` with each complete request, which has `method`, `url`,
/// `headers` and `body`, and with the response.
export function createHttpServer(handle) {
  return createServer((request, response) => {
    const { method, url, headers } = request;
    let body = '';
    request.on('data', (chunk) => (body += chunk));
    request.on('end', () => handle({ method, url, headers, body }, response));
  });
}
