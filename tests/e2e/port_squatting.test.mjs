// A port squatter: another user's program that listens on the port of the local server. The
// application sends it no request, so neither the application's key nor a cookie, and does not show
// the squatter's page.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import {
  awaitErrorPage, endedServerMessage, unresponsiveServerMessage,
} from '../support/desktop/error_page.mjs';
import { withPortHolder } from '../support/desktop/port_holder.mjs';
import { PORT, hasIpv6 } from '../support/desktop/processes.mjs';

const { test } = desktopTests();

const needsRoot = process.getuid() !== 0 && 'needs root, to run a program as another user';
const needsIpv6 = !hasIpv6 && 'needs IPv6';

/// Becomes the user nobody, 65534, listens on the address in its argument, answers every request
/// with a page, and prints the requests.
const squatterProgram = `
  process.setgroups([]);
  process.setgid(65534);
  process.setuid(65534);
  require('node:http').createServer(({ url, headers }, response) => {
    console.log(JSON.stringify({ url, headers }));
    response.writeHead(200, { 'content-type': 'text/html' }).end('<p>page of another user</p>');
  }).listen(${PORT}, process.argv[1], () => console.log('listening'));`;

/// Runs a squatter that listens at the address `host` during the body, and fails if the squatter
/// gets a request.
const withSquatter = (host, body) =>
  withPortHolder(['-e', squatterProgram, host], async (squatter, output) => {
    await body();
    assert.equal(output(), 'listening\n', 'the squatter gets no request');
  });

/// An address that may resolve to ::1, while the application's server listens on 127.0.0.1 only.
const localhost = `http://localhost:${PORT}/`;
/// `message` is that of the error page. Node exits with code 1 when it cannot listen.
const attacks = [
  { name: 'the server cannot listen and exits', host: '127.0.0.1', message: endedServerMessage(1) },
  { name: 'the server listens on the other address of localhost', host: '::1',
    plist: { ORVELOSURL: localhost }, message: unresponsiveServerMessage, skip: needsIpv6 },
];
for (const { name, host, plist, message, skip = false } of attacks) {
  test(`a squatter on ${host} gets no request when ${name}, and the error page is shown`,
    { plist, skip: needsRoot || skip }, async (user, screen) => {
      await withSquatter(host, async () => {
        user.start();
        await awaitErrorPage(screen, message);
      });
      // The application sends no request while another user's program listens on the port, even if
      // its own server listens too.
      assert.deepEqual(user.localServer.requests, []);
    });
}

test('Control-R sends no request to a squatter that has begun to listen after the first load',
  { plist: { ORVELOSURL: localhost }, skip: needsRoot || needsIpv6 }, async (user, screen) => {
    await user.startAndShowPage();
    await withSquatter('::1', async () => {
      await screen.pressKeys('ctrl+r');
      await awaitErrorPage(screen, unresponsiveServerMessage);
    });
    await user.reload();
  });
