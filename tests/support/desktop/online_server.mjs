// A server that the application does not start: it answers under another
// address of this machine, which counts as online.

import { createServer } from 'node:http';

import { answer } from './responses.mjs';
import { waitFor } from './wait.mjs';

export class OnlineServer {
  /// Listens, unless told otherwise, on a free port of its own; `ready` false
  /// refuses every probe; `routes` are answers of the test's own.
  static async open({ ready = true, host = '127.0.0.2', port = 0, routes = {} } = {}) {
    const online = new OnlineServer();
    online.requests = [];
    online.server = createServer((request, response) => {
      let body = '';
      request.on('data', (piece) => (body += piece));
      request.on('end', () => {
        const { method, url, headers } = request;
        online.requests.push({ method, url, headers, body, time: Date.now() });
        if (!ready && url !== '/') {
          response.writeHead(503).end();
        } else {
          answer(request, response, routes);
        }
      });
    });
    await new Promise((resolve) => online.server.listen(port, host, resolve));
    online.address = `http://${host}:${online.server.address().port}/`;
    return online;
  }

  requestsTo(url) {
    return this.requests.filter((request) => request.url === url);
  }

  /// What the page has told under a name.
  reported(name) {
    return this.requestsTo(`/api/${name}`).map(({ body }) => JSON.parse(body));
  }

  async awaitPainted(times = 1) {
    await waitFor(`page painted ${times} times`, () => this.reported('painted').length >= times);
    return this.reported('painted').at(-1);
  }

  close() {
    this.server.close();
    this.server.closeAllConnections();
  }
}
