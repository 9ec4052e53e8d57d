// A second start while the application runs.

import assert from 'node:assert/strict';

import { alive, kill } from '../support/desktop/processes.mjs';
import { onSessionBus } from '../support/desktop/session_bus.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial } = trialsOn();

trial('a second start raises the first window and starts nothing', {}, async (user, screen) => {
  await onSessionBus(async (environment) => {
    const first = await user.startAndPaint({ environment });
    const window = await screen.window();
    await screen.keys('ctrl+m');
    await waitFor('a minimised window', async () =>
      /Iconic/.test(await screen.property(window, 'WM_STATE')));

    const second = user.start({ environment });
    assert.equal((await user.ended(second)).code, 0);
    await waitFor('the first window', async () =>
      /Normal/.test(await screen.property(window, 'WM_STATE')));
    assert.equal(await screen.managedWindows(), 1);
    assert.equal(user.root.events('started').length, 1);
    assert.equal(first.ended, null);

    await user.quit(first);
    // The name is free again.
    await user.startAndPaint({ environment });
    await user.quit();
  });
});

trial('a session bus that goes away leaves the application at work', {},
  async (user, screen) => {
    await onSessionBus(async (environment, bus) => {
      const run = await user.startAndPaint({ environment });
      kill(bus.pid);
      await waitFor('the end of the bus', () => !alive(bus.pid));
      const before = user.root.requests('/').length;
      await screen.keys('ctrl+r');
      await waitFor('the page once more', () => user.root.requests('/').length > before);
      assert.equal(run.ended, null);
      await user.quit(run);
    });
  });

trial('without a session bus each start runs alone', {}, async (user, screen) => {
  const first = await user.startAndPaint();
  const second = await user.startAndPaint();
  await waitFor('two windows', async () => (await screen.managedWindows()) === 2);
  assert.equal(first.ended, null);
  for (const run of [second, first]) {
    kill(run.pid, 'SIGTERM');
    assert.equal((await user.ended(run)).code, 0);
  }
});
