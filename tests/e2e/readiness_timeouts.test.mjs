// How long the application waits for a server of this machine that does not
// become ready.

import assert from 'node:assert/strict';

import { OnlineServer } from '../support/desktop/online_server.mjs';
import { PORT } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';

const { test, saveScreenshot } = desktopTests();

const timeout = 40_000;
const silent = 'Orvel OS\nDe OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log.';

test('a server is probed 61 times, a quarter of a second apart',
  { behaviour: { neverListens: true } }, async (user, screen) => {
    // The test itself takes the probes: it listens before the first.
    const counter = await OnlineServer.open({ ready: false, host: '127.0.0.1', port: PORT });
    try {
      user.start();
      const text = await screen.awaitPageText((page) => page.includes('reageert'), { timeout });
      assert.equal(text, silent);
      const probes = counter.requestsTo('/api/wie');
      assert.equal(probes.length, 61);
      assert.equal(counter.requests.length, 61, 'nothing else is asked');
      const took = probes.at(-1).time - probes[0].time;
      assert.ok(took >= 60 * 250 - 50 && took < 25_000, `61 probes took ${took} ms`);
      await user.quit();
    } finally {
      counter.close();
    }
  });

test('a server that never listens is given up after about 15 seconds, and stays',
  { behaviour: { neverListens: true } }, async (user, screen) => {
    user.start();
    const { time, pid } = await user.root.awaitStarted();
    const text = await screen.awaitPageText((page) => page.includes('reageert'), { timeout });
    const took = Date.now() - time;
    assert.equal(text, silent);
    await saveScreenshot('error-no-answer');
    assert.ok(took >= 14_500 && took < 25_000, `given up after ${took} ms`);
    assert.deepEqual(user.root.events('started').map((line) => line.pid), [pid]);
    assert.deepEqual(user.root.events('signal'), []);
    await user.quit();
  });

const long = process.env.ORVEL_TEST_LONG === '1';

test('a server that accepts and never answers is given up after 61 probes of 3 seconds',
  {
    behaviour: { noReply: true },
    timeout: 300_000,
    skip: long ? false : 'takes more than three minutes; set ORVEL_TEST_LONG=1',
  },
  async (user, screen) => {
    user.start();
    const text = await screen.awaitPageText((page) => page.includes('reageert'), { timeout: 250_000 });
    assert.equal(text, silent);
    // The very first may have come before the server listened.
    const { length } = user.root.requests('/api/wie');
    assert.ok(length === 60 || length === 61, `${length} probes`);
    await user.quit();
  });
