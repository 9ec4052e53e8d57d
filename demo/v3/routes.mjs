// Maps the path and method of a request to its handler.

import { createReadStream, readFileSync } from 'node:fs';
import { stat } from 'node:fs/promises';
import { join } from 'node:path';
import { Readable } from 'node:stream';
import { pipeline } from 'node:stream/promises';

import { appKeyPlacesOf, appKeysOf, labelOf } from './app_keys.mjs';
import { exportFor, FILES, repeatedText, slowLines } from './files.mjs';
import { HttpError, readBody, send, sendJson, sendPage, targetOf } from './http.mjs';
import { logo } from './layout.mjs';
import { PAGES } from './pages.mjs';
import { sessionOf } from './sessions.mjs';

const readAsset = (name) => readFileSync(new URL(name, import.meta.url));
const ASSETS = new Map(Object.entries({
  '/os.css': ['text/css; charset=utf-8', readAsset('os.css')],
  '/os.js': ['text/javascript; charset=utf-8', readAsset('os.js')],
  '/beeldmerk.svg': ['image/svg+xml', logo],
}));

const REDIRECTS = new Map(Object.entries({
  '/omleiding/pagina': '/lang',
  '/omleiding/extern': 'https://example.org/omgeleid',
  '/omleiding/export': '/api/export',
  '/omleiding/bestand': '/api/bestand/1',
}));

const MIB = 1024 * 1024;

async function stream(request, response, type, source, headers = {}) {
  response.writeHead(200, { 'Content-Type': type, 'Cache-Control': 'no-store', ...headers });
  if (request.method === 'HEAD') response.end();
  else await pipeline(source, response);
}

/// The handlers of the files that are generated for each request, by id: a private file, a large,
/// a slow and a truncated one, and one that is never sent.
const GENERATED_FILES = {
  besloten(request, response) {
    if (!sessionOf(request.headers)) throw new HttpError(401);
    send(response, 200, 'text/plain; charset=utf-8', 'Alleen voor deze sessie.\n', {
      'Content-Disposition': 'attachment; filename="besloten.txt"',
    });
  },
  groot(request, response, query) {
    const mib = Number(query.get('mib') ?? 64);
    if (!Number.isInteger(mib) || mib < 0 || mib > 4096) throw new HttpError(400);
    return stream(request, response, 'application/octet-stream', Readable.from(repeatedText(mib * MIB)), {
      'Content-Length': mib * MIB,
      'Content-Disposition': 'attachment; filename="groot.bin"',
    });
  },
  traag(request, response) {
    return stream(request, response, 'text/plain; charset=utf-8', Readable.from(slowLines(20)), {
      'Content-Disposition': 'attachment; filename="traag.txt"',
    });
  },
  async afgebroken(request, response) {
    response.writeHead(200, {
      'Content-Type': 'application/octet-stream',
      'Content-Length': 4 * MIB,
      'Content-Disposition': 'attachment; filename="afgebroken.bin"',
    });
    response.write(Buffer.alloc(MIB), () => response.destroy());
  },
  stil() {
    // Never responds, like a server that hangs.
  },
};

function sendFile(request, response, id, query) {
  if (Object.hasOwn(GENERATED_FILES, id)) return GENERATED_FILES[id](request, response, query);
  const file = FILES.get(id);
  if (!file) throw new HttpError(404);
  const [, type, disposition, content] = file;
  return send(response, 200, type, content, disposition ? { 'Content-Disposition': disposition } : {});
}

/// Sends a manifest or an archive from the release folder. Throws a 404 for any other name.
async function sendRelease(request, response, folder, name) {
  if (!folder || !/^(linux\.json|mac\.json|\w[\w .+-]*\.zip)$/.test(name)) throw new HttpError(404);
  const path = join(folder, name);
  const found = await stat(path).catch(() => null);
  if (!found?.isFile()) throw new HttpError(404);
  const type = name.endsWith('.zip') ? 'application/zip' : 'application/json; charset=utf-8';
  await stream(request, response, type, createReadStream(path), { 'Content-Length': found.size });
}

/// Rejects requests from other sites: a page cannot add a custom header to a cross-origin
/// request without a CORS preflight, which this server rejects.
function requireDemoHeader(request) {
  if (request.headers['x-orvel-demo'] !== 'ja') throw new HttpError(403);
}

export function createRouter({ record, state }) {
  const releaseFolder = process.env.ORVEL_DEMO_RELEASES || null;

  const posts = new Map(Object.entries({
    // Reports of a page: that it is painted, or the answer to a panel. The data is in the query,
    // because the record contains the URL of a request but not its body.
    '/api/getoond': (request, response) => response.writeHead(204).end(),
    '/api/antwoord': (request, response) => response.writeHead(204).end(),
    '/api/stop': (request, response, { query }) => {
      requireDemoHeader(request);
      const how = query.get('hoe');
      if (!['code', 'kill', 'doof'].includes(how)) throw new HttpError(400);
      if (how === 'doof') state.ignoresSigterm = true;
      response.on('finish', () => {
        // The text of the page /server says that the status will be 3.
        if (how === 'code') process.exit(3);
        if (how === 'kill') process.kill(process.pid, 'SIGKILL');
      });
      response.writeHead(204).end();
    },
    '/formulier': (request, response, { query, body }) => {
      const formFields = new URLSearchParams(body);
      sendPage(response, PAGES.get('/formulier')(request, response, { query, formFields }));
    },
  }));

  const gets = new Map(Object.entries({
    '/api/wie': (request, response) => {
      // Answers the application's readiness probe, and tells in which places the probe has the
      // application's key: `via` as a list, `herkend` as a text.
      const appKeys = appKeysOf(request.headers);
      const via = appKeyPlacesOf(appKeys);
      sendJson(response, { naam: 'Orvel OS', app: via.length > 0, via, herkend: labelOf(appKeys) });
    },
    '/api/verslag': (request, response) => {
      sendJson(response, { probes: record.probes.count, requests: record.requests });
    },
    '/api/export': (request, response, { query }) => {
      const { name, type, body } = exportFor(request, query);
      send(response, 200, type, body, { 'Content-Disposition': `attachment; filename="${name}"` });
    },
  }));
  for (const [path, [type, content]] of ASSETS) {
    gets.set(path, (request, response) => send(response, 200, type, content));
  }
  for (const [path, location] of REDIRECTS) {
    gets.set(path, (request, response) => send(response, 302, 'text/plain', '', { Location: location }));
  }
  for (const [path, make] of PAGES) {
    gets.set(path, (request, response, { query }) => {
      // A form with the method GET has its fields in the query.
      const formFields = [...query].length ? query : null;
      const context = { record, state, releaseFolder, query, formFields };
      sendPage(response, make(request, response, context));
    });
  }

  /// Returns the handlers of a path for GET and POST requests.
  function handlersFor(path) {
    const pathBelow = (prefix) => (path.startsWith(prefix) ? path.slice(prefix.length) : null);
    const file = pathBelow('/api/bestand/');
    if (file !== null) return { get: (request, response, { query }) => sendFile(request, response, file, query) };
    const release = pathBelow('/download/');
    if (release !== null) return { get: (request, response) => sendRelease(request, response, releaseFolder, release) };
    return { get: gets.get(path), post: posts.get(path) };
  }

  return async function route(request, response) {
    const { path, query } = targetOf(request);
    const { get, post } = handlersFor(path);
    if (!get && !post) throw new HttpError(404);
    const body = await readBody(request);
    const isRead = request.method === 'GET' || request.method === 'HEAD';
    const handler = isRead ? get : request.method === 'POST' ? post : undefined;
    if (!handler) {
      throw new HttpError(405, { Allow: [get && 'GET, HEAD', post && 'POST'].filter(Boolean).join(', ') });
    }
    await handler(request, response, { query, body });
  };
}
