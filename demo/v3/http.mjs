// Reads requests and sends responses.

import { STATUS_CODES } from 'node:http';
import { isIP } from 'node:net';

import { errorPage } from './layout.mjs';

const BODY_LIMIT = 64 * 1024;
// A body that exceeds the limit is read and dropped up to this size, so that the client can
// finish sending and receive the 413.
const DRAIN_LIMIT = 4 * 1024 * 1024;

/// An error to which the server responds with this status and these additional headers.
export class HttpError extends Error {
  constructor(status, headers = {}) {
    super(STATUS_CODES[status]);
    this.status = status;
    this.headers = headers;
  }
}

/// Throws a 421 unless the Host field is an IP address or localhost. Any other name may belong to
/// a site whose DNS server points it at this machine, so that the browser takes the site and this
/// server for one origin (DNS rebinding).
export function requireOwnHost({ headers: { host = '' } }) {
  const [, name] = /^(\[[^\]]*\]|[^:]*)(:\d*)?$/.exec(host) ?? [];
  const address = name?.replace(/^\[|\]$/g, '');
  if (!isIP(address ?? '') && address?.toLowerCase() !== 'localhost') throw new HttpError(421);
}

/// Returns the decoded path and the query of a request. Throws a 400 for a malformed target.
export function targetOf(request) {
  const { url } = request;
  if (!url.startsWith('/')) throw new HttpError(400);
  const questionMark = url.indexOf('?');
  const query = questionMark < 0 ? '' : url.slice(questionMark + 1);
  try {
    // Throws for malformed percent-encoding, which URLSearchParams keeps as it is.
    decodeURIComponent(query);
    return {
      path: decodeURIComponent(questionMark < 0 ? url : url.slice(0, questionMark)),
      query: new URLSearchParams(query),
    };
  } catch {
    throw new HttpError(400);
  }
}

/// Returns the body as text. Throws a 413 if it exceeds the limit.
export async function readBody(request) {
  const chunks = [];
  let size = 0;
  for await (const chunk of request) {
    size += chunk.length;
    if (size <= BODY_LIMIT) chunks.push(chunk);
    if (size > DRAIN_LIMIT) break;
  }
  if (size > BODY_LIMIT) throw new HttpError(413, { Connection: 'close' });
  return Buffer.concat(chunks).toString('utf8');
}

export function send(response, status, type, body, headers = {}) {
  response.writeHead(status, {
    'Content-Type': type,
    'Content-Length': Buffer.byteLength(body),
    'Cache-Control': 'no-store',
    'X-Content-Type-Options': 'nosniff',
    ...headers,
  });
  response.end(body);
}

export function sendPage(response, html, status = 200, headers = {}) {
  send(response, status, 'text/html; charset=utf-8', html, headers);
}

export function sendJson(response, value, status = 200, headers = {}) {
  send(response, status, 'application/json; charset=utf-8', `${JSON.stringify(value, null, 2)}\n`, headers);
}

/// Sends an error: JSON below /download/, and below /api/ to clients that do not accept HTML;
/// otherwise a page.
export function sendError(request, response, error) {
  if (response.headersSent || response.destroyed) {
    response.destroy();
    return;
  }
  const status = error.status ?? 500;
  const { headers } = error;
  const wantsPage = /\btext\/html\b/.test(request.headers.accept ?? '');
  const prefix = /^\/(download|api)\//.exec(request.url);
  if (prefix && (prefix[1] === 'download' || !wantsPage)) {
    sendJson(response, { fout: STATUS_CODES[status], status }, status, headers);
  } else {
    sendPage(response, errorPage(status, request), status, headers);
  }
}

/// Sends an error response to a request that could not be parsed, and closes the connection.
export function rejectUnparsed(socket, status) {
  if (!socket.writable) {
    socket.destroy();
    return;
  }
  socket.end(`HTTP/1.1 ${status} ${STATUS_CODES[status]}\r\nConnection: close\r\nContent-Length: 0\r\n\r\n`);
}
