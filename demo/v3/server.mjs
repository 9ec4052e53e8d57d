// The Orvel OS demo server. Needs Node 18 or later and no packages.

import { createServer } from 'node:http';

import { rejectUnparsed, requireOwnHost, sendError } from './http.mjs';
import { openRecord } from './record.mjs';
import { createRouter } from './routes.mjs';

const { PORT = '4767', ORVEL_DEMO_HOST = '127.0.0.1' } = process.env;

function fail(message) {
  process.stderr.write(`Orvel OS: ${message}\n`);
  process.exit(1);
}

const port = /^\d{1,5}$/.test(PORT) ? Number(PORT) : NaN;
if (!(port <= 65535)) fail(`PORT is geen poort: "${PORT}"`);

let record;
try {
  record = openRecord(process.env.ORVEL_DEMO_RECORD);
} catch (error) {
  fail(`het verslag kan niet worden geopend: ${error.message}`);
}

// POST /api/stop?hoe=doof, which the page /server sends, sets `ignoresSigterm`. The server then
// ignores SIGINT too.
const state = { ignoresSigterm: false, started: Date.now() };
const route = createRouter({ record, state });

const server = createServer(
  { maxHeaderSize: 16 * 1024, headersTimeout: 10_000, requestTimeout: 20_000 },
  async (request, response) => {
    const entry = record.addRequest(request);
    response.on('close', () => {
      // 0 if the client closed the connection before the response.
      entry.status = response.headersSent ? response.statusCode : 0;
    });
    try {
      requireOwnHost(request);
      await route(request, response);
    } catch (error) {
      // Log unexpected errors, but not a connection that the client has closed.
      if (!error.status && !response.destroyed) {
        process.stderr.write(`${request.method} ${request.url}: ${error.stack}\n`);
      }
      sendError(request, response, error);
    }
  },
);

server.on('clientError', (error, socket) => {
  record.addEvent('bad-request', { code: error.code ?? null });
  rejectUnparsed(socket, { HPE_HEADER_OVERFLOW: 431, ERR_HTTP_REQUEST_TIMEOUT: 408 }[error.code] ?? 400);
});

server.on('error', (error) => {
  fail(error.code === 'EADDRINUSE' ? `poort ${port} is al in gebruik.` : error.message);
});

function stop(signal) {
  if (state.ignoresSigterm) return;
  record.addEvent('stopped', { signal });
  process.stdout.write(`Orvel OS is gestopt (${signal}).\n`);
  server.close(() => process.exit(0));
  server.closeAllConnections();
}
process.on('SIGTERM', stop);
process.on('SIGINT', stop);

server.listen({ port, host: ORVEL_DEMO_HOST }, () => {
  const { address, port: bound } = server.address();
  const { PATH = null, HOME = null } = process.env;
  record.addEvent('listening', {
    pid: process.pid,
    address,
    port: bound,
    env: { PORT: process.env.PORT ?? null, PATH, HOME },
  });
  process.stdout.write(`Orvel OS luistert op http://${address}:${bound}/\n`);
  process.stderr.write(`Proces ${process.pid}, Node ${process.version}, map ${process.cwd()}\n`);
});
