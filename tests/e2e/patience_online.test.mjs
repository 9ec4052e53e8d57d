// How long the application waits for an address that does not become ready.

import assert from 'node:assert/strict';

import { OnlineServer } from '../support/desktop/online_server.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';

const { test, saveScreenshot } = desktopTests({ usesPort: false });

test('an online address is probed 9 times, 2 seconds apart', {}, async (user, screen) => {
  const online = await OnlineServer.open({ ready: false });
  try {
    // Stored without the "/" that the message shows.
    user.setPlistValues({ ORVELOSURL: online.address.slice(0, -1) });
    user.start();
    const text = await screen.awaitPageText((page) => page.includes('verbinding'), { timeout: 40_000 });
    assert.equal(
      text,
      `Orvel OS\nGeen verbinding met ${online.address}. ` +
        'Check je internet en probeer opnieuw met ⌘R.',
    );
    await saveScreenshot('error-online');
    const probes = online.requestsTo('/api/wie');
    assert.equal(probes.length, 9);
    const took = probes.at(-1).time - probes[0].time;
    assert.ok(took >= 8 * 2000 - 50 && took < 25_000, `9 probes took ${took} ms`);
    assert.deepEqual(user.root.record(), [], 'no server of this machine is started');
    await user.quit();
  } finally {
    online.close();
  }
});
