// How often the application probes a server that does not become ready.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { PORT } from '../support/desktop/processes.mjs';

const { test, saveScreenshot } = desktopTests();

/// Waits for the error page and fails unless there were `count` probes, at least `interval` ms
/// apart.
async function assertProbed(screen, server, { message, count, interval }) {
  const text = await screen.awaitPageText((page) => page.endsWith(message));
  assert.equal(text, `Orvel OS\n${message}`);
  await saveScreenshot(`not-ready-${count}`);
  const probes = server.requestsTo('/api/wie');
  assert.equal(probes.length, count);
  const took = probes.at(-1).time - probes[0].time;
  // The first probe may take longer to arrive than the last.
  const tolerance = 50;
  assert.ok(took >= (count - 1) * interval - tolerance, `${count} probes took ${took} ms`);
}

test('a local server that is never ready is probed 61 times, every 250 ms, and not stopped',
  { behaviour: { neverListens: true } }, async (user, screen) => {
    // The test listens in place of the fixture server, to see the first probe too.
    const server = await user.openOnlineServer({ ready: false, host: '127.0.0.1', port: PORT });
    user.start();
    await assertProbed(screen, server, {
      message: 'De OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log.',
      count: 61,
      interval: 250,
    });
    assert.equal(server.requests.length, 61, 'nothing else is requested');
    assert.equal(user.root.events('started').length, 1);
    assert.deepEqual(user.root.events('signal'), []);
    await user.quit();
    server.close();
  });

test('an online server that is never ready is probed 9 times, every 2 s', async (user, screen) => {
  const server = await user.openOnlineServer({ ready: false });
  // The message adds a "/" to the stored address.
  user.setPlistValues({ ORVELOSURL: server.address.slice(0, -1) });
  user.start();
  await assertProbed(screen, server, {
    message: `Geen verbinding met ${server.address}. ` +
      'Check je internet en probeer opnieuw met ⌘R.',
    count: 9,
    interval: 2000,
  });
  assert.deepEqual(user.root.record(), [], 'no local server is started');
});
