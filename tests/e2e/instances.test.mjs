// Multiple instances of the application. A user has a session bus only if the test starts one.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { withSessionBus } from '../support/desktop/bus.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

test('a second instance raises the first window and exits', (user, screen) =>
  withSessionBus(async (environment) => {
    const first = await user.startAndShowPage({ environment });
    const window = await screen.awaitWindow();
    await screen.pressKeys('ctrl+m');
    await waitFor('a minimised window', async () =>
      /Iconic/.test(await screen.property(window, 'WM_STATE')));

    const second = user.start({ environment });
    await user.awaitCleanExit(second);
    await waitFor('the raised window', async () =>
      /Normal/.test(await screen.property(window, 'WM_STATE')));
    assert.equal(await screen.windowCount(), 1);
    assert.equal(user.localServer.events('started').length, 1);
    assert.equal(first.exit, null);

    // Quitting releases the bus name, so that a new instance can own it.
    await user.quit(first);
    await user.startAndShowPage({ environment });
    await user.quit();
  }));

test('without a session bus each instance opens a window', async (user, screen) => {
  const first = await user.startAndShowPage();
  const second = await user.startAndShowPage();
  await screen.awaitWindowCount(2);
  assert.equal(first.exit, null);
  for (const run of [second, first]) await user.terminate(run);
});
