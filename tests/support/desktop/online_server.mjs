// A server that the application does not start. The application counts its address, 127.0.0.2, as
// online, because it is not that of the local server.

import { createServer } from 'node:http';

import { PageReports } from './page_reports.mjs';
import { respond } from './responses.mjs';

export class OnlineServer extends PageReports {
  /// Listens, on a free port unless one is given. With `ready` false every request but that
  /// for the page gets status 503. `routes` may be changed later.
  static async open({ ready = true, host = '127.0.0.2', port = 0, routes = {} } = {}) {
    const online = new OnlineServer();
    online.requests = [];
    online.routes = routes;
    online.server = createServer((request, response) => {
      let body = '';
      request.on('data', (chunk) => (body += chunk));
      request.on('end', () => {
        const { method, url, headers } = request;
        online.requests.push({ method, url, headers, body, time: Date.now() });
        if (!ready && url !== '/') {
          response.writeHead(503).end();
        } else {
          respond(request, response, online.routes);
        }
      });
    });
    await new Promise((resolve) => online.server.listen(port, host, resolve));
    online.address = `http://${host}:${online.server.address().port}/`;
    return online;
  }

  requestsTo(url, method = 'GET') {
    return this.requests.filter((request) => request.url === url && request.method === method);
  }

  close() {
    this.server.close();
    this.server.closeAllConnections();
  }
}
