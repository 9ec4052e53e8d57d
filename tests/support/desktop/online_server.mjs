// A server that the application does not start. The application takes it for an online server,
// because its address, by default a port of 127.0.0.2, is not that of the local server.

import { createHttpServer, respond } from './responses.mjs';
import { TestServer } from './test_server.mjs';

/// An online server that records its requests.
export class OnlineServer extends TestServer {
  /// Listens on a free port. The test may change the `routes` later.
  static async open({ host = '127.0.0.2', routes = {} } = {}) {
    const online = new OnlineServer();
    online.requests = [];
    online.routes = routes;
    online.server = createHttpServer((request, response) => {
      online.requests.push(request);
      respond(request, response, online.routes);
    });
    await new Promise((resolve) => online.server.listen(0, host, resolve));
    const hostInUrl = host.includes(':') ? `[${host}]` : host;
    online.address = `http://${hostInUrl}:${online.server.address().port}/`;
    return online;
  }

  close() {
    this.server.close();
    this.server.closeAllConnections();
  }
}
