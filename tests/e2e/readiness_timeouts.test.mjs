// How long the application waits for a server that does not become ready.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { PORT } from '../support/desktop/processes.mjs';

const { test, saveScreenshot } = desktopTests();

const noReply = 'Orvel OS\nDe OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log.';

/// Waits for an error page with these words and compares its whole text.
async function assertErrorPage(screen, words, expected, timeout = 40_000) {
  assert.equal(await screen.awaitPageText((page) => page.includes(words), { timeout }), expected);
}

/// Fails if the probes were sent with a shorter interval than this one, in ms.
function assertInterval(probes, interval) {
  const took = probes.at(-1).time - probes[0].time;
  const least = (probes.length - 1) * interval - 50;
  assert.ok(took >= least, `${probes.length} probes took ${took} ms`);
}

test('a local server is probed 61 times, every 250 ms', { behaviour: { neverListens: true } },
  async (user, screen) => {
    // The test listens in place of the fixture server, to see the first probe too.
    const server = await user.openOnlineServer({ ready: false, host: '127.0.0.1', port: PORT });
    user.start();
    await assertErrorPage(screen, 'reageert', noReply);
    assert.equal(server.requestsTo('/api/wie').length, 61);
    assert.equal(server.requests.length, 61, 'nothing else is requested');
    assertInterval(server.requests, 250);
    await user.quit();
    server.close();
  });

test('an online server is probed 9 times, every 2 seconds', async (user, screen) => {
  const online = await user.openOnlineServer({ ready: false });
  // The message adds a "/" to the stored address.
  user.setPlistValues({ ORVELOSURL: online.address.slice(0, -1) });
  user.start();
  await assertErrorPage(screen, 'verbinding', `Orvel OS\nGeen verbinding met ${online.address}. ` +
    'Check je internet en probeer opnieuw met ⌘R.');
  await saveScreenshot('error-online');
  const probes = online.requestsTo('/api/wie');
  assert.equal(probes.length, 9);
  assertInterval(probes, 2000);
  assert.deepEqual(user.root.record(), [], 'no local server is started');
  await user.quit();
});

test('a server that never listens is reported after 15 seconds and keeps running',
  { behaviour: { neverListens: true } }, async (user, screen) => {
    user.start();
    const { time, pid } = await user.root.awaitStarted();
    await assertErrorPage(screen, 'reageert', noReply);
    const took = Date.now() - time;
    await saveScreenshot('error-no-answer');
    assert.ok(took >= 14_500, `reported after ${took} ms`);
    assert.deepEqual(user.root.events('started').map((line) => line.pid), [pid]);
    assert.deepEqual(user.root.events('signal'), []);
    await user.quit();
  });

const isLong = process.env.ORVEL_TEST_LONG === '1';

test('a server that accepts and never responds is reported after 61 probes of 3 seconds', {
  behaviour: { noReply: true },
  timeout: 300_000,
  skip: isLong ? false : 'takes more than three minutes; set ORVEL_TEST_LONG=1',
}, async (user, screen) => {
  user.start();
  await assertErrorPage(screen, 'reageert', noReply, 250_000);
  // The first probe may come before the server listens.
  const { length } = user.root.requests('/api/wie');
  assert.ok(length === 60 || length === 61, `${length} probes`);
  await user.quit();
});
