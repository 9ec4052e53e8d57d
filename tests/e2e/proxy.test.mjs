import assert from 'node:assert/strict';
import { createServer } from 'node:http';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { link } from '../support/desktop/page.mjs';
import { hasIpv6 } from '../support/desktop/processes.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// Starts a proxy that fails each request and records its target, and closes it at the end of the
/// test. Returns the targets and the environment that names the proxy.
async function openProxy(user) {
  const targets = [];
  const proxy = createServer((request, response) => {
    targets.push(request.url);
    response.writeHead(502).end();
  });
  proxy.on('connect', (request, socket) => {
    targets.push(request.url);
    socket.end('HTTP/1.1 502 Bad Gateway\r\n\r\n');
  });
  await new Promise((resolve) => proxy.listen(0, '127.0.0.1', resolve));
  user.cleanups.push(() => {
    proxy.close();
    proxy.closeAllConnections();
  });
  const url = `http://127.0.0.1:${proxy.address().port}`;
  return { targets, environment: { http_proxy: url, https_proxy: url, all_proxy: url } };
}

/// Addresses of this machine.
const ownHosts = ['127.0.0.2', ...(hasIpv6 ? ['::1'] : [])];

test('requests to this machine bypass the proxy, and others use it', async (user) => {
  const desktop = new Desktop(user);
  const { targets, environment } = await openProxy(user);
  const servers = [];
  for (const host of ownHosts) servers.push(await user.openOnlineServer({ host }));
  const urls = [...servers.map(({ address }) => `${address}own`), 'http://localhost:4767/own',
    'http://other.test/image', 'https://other.test/image'];
  const page = link('export', '/api/export') + urls.map((url) => `<img src="${url}">`).join('');
  const layout =
    await user.startWithPage(page, { '/api/export': csvRoute() }, { environment });
  // The application itself downloads an export, while WebKit loads the images. "one;two" is the
  // default body of csvRoute().
  assert.equal(await desktop.clickAndAwaitFile(layout, 'export', 'export.csv'), 'one;two\n');
  // The local server gets the request to localhost.
  for (const server of [...servers, user.localServer]) await server.awaitRequest('/own');
  const expected = ['http://other.test/image', 'other.test:443'];
  await waitFor('the requests to another host', () => targets.length >= expected.length);
  await user.quit();
  assert.deepEqual(targets.sort(), expected);

  const { env } = await user.localServer.awaitStarted();
  const proxyVariables = Object.entries(env).filter(([name]) => /proxy/i.test(name));
  assert.deepEqual(Object.fromEntries(proxyVariables), environment,
    'the server gets the environment of the user');
});
