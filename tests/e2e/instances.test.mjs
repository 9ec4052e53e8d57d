// A second start while the application runs.

import assert from 'node:assert/strict';

import { isRunning, kill } from '../support/desktop/processes.mjs';
import { withSessionBus } from '../support/desktop/session_bus.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

test('a second start raises the first window and starts nothing', {}, async (user, screen) => {
  await withSessionBus(async (environment) => {
    const first = await user.startAndShowPage({ environment });
    const window = await screen.awaitWindow();
    await screen.pressKeys('ctrl+m');
    await waitFor('a minimised window', async () =>
      /Iconic/.test(await screen.property(window, 'WM_STATE')));

    const second = user.start({ environment });
    assert.equal((await user.awaitExit(second)).code, 0);
    await waitFor('the first window', async () =>
      /Normal/.test(await screen.property(window, 'WM_STATE')));
    assert.equal(await screen.windowCount(), 1);
    assert.equal(user.root.events('started').length, 1);
    assert.equal(first.exit, null);

    await user.quit(first);
    // The name is free again.
    await user.startAndShowPage({ environment });
    await user.quit();
  });
});

test('a session bus that goes away leaves the application at work', {},
  async (user, screen) => {
    await withSessionBus(async (environment, bus) => {
      const run = await user.startAndShowPage({ environment });
      kill(bus.pid);
      await waitFor('the end of the bus', () => !isRunning(bus.pid));
      const before = user.root.requests('/').length;
      await screen.pressKeys('ctrl+r');
      await waitFor('the page once more', () => user.root.requests('/').length > before);
      assert.equal(run.exit, null);
      await user.quit(run);
    });
  });

test('without a session bus each start runs alone', {}, async (user, screen) => {
  const first = await user.startAndShowPage();
  const second = await user.startAndShowPage();
  await waitFor('two windows', async () => (await screen.windowCount()) === 2);
  assert.equal(first.exit, null);
  for (const run of [second, first]) {
    kill(run.pid, 'SIGTERM');
    assert.equal((await user.awaitExit(run)).code, 0);
  }
});
