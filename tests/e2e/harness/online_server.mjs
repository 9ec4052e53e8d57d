// A server that the application does not start: it answers under another
// address of this machine, which counts as online.

import { createServer } from 'node:http';

import { page } from './page.mjs';

export class OnlineServer {
  /// Listens, unless told otherwise, on a free port of its own; `ready` false
  /// refuses every probe.
  static async open({ ready = true, host = '127.0.0.2', port = 0 } = {}) {
    const online = new OnlineServer();
    online.requests = [];
    online.server = createServer((request, response) => {
      const { method, url, headers } = request;
      online.requests.push({ method, url, headers, time: Date.now() });
      if (url === '/') {
        response.writeHead(200, { 'content-type': 'text/html; charset=utf-8' }).end(page);
      } else {
        response.writeHead(ready ? 200 : 503).end();
      }
    });
    await new Promise((resolve) => online.server.listen(port, host, resolve));
    online.address = `http://${host}:${online.server.address().port}/`;
    return online;
  }

  to(url) {
    return this.requests.filter((request) => request.url === url);
  }

  close() {
    this.server.close();
    this.server.closeAllConnections();
  }
}
