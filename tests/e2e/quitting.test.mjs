// The end of the application and its server: on request, by a crash, and by the loss of the
// display.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { isRunning, kill } from '../support/desktop/processes.mjs';
import { Screen } from '../support/desktop/screen.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const press = (keys) => (run, screen) => screen.pressKeys(keys);
const send = (signal) => (run) => kill(run.pid, signal);

/// The ways in which a user or the system quits the application.
const quitActions = {
  'Control-Q': press('ctrl+q'),
  // The window manager handles this key. It asks the window to close, as its close button does.
  'Alt-F4': press('alt+F4'),
  SIGTERM: send('SIGTERM'),
  SIGINT: send('SIGINT'),
  SIGHUP: send('SIGHUP'),
};

const receivedSignals = (user) => user.localServer.events('signal').map(({ signal }) => signal);

for (const [action, quit] of Object.entries(quitActions)) {
  test(`${action} ends the server by SIGTERM before the application`,
    { behaviour: { stopDelay: 1000 } }, async (user, screen) => {
      const run = await user.startAndShowPage();
      await quit(run, screen);
      await user.awaitCleanExit(run);
      assert.deepEqual(receivedSignals(user), ['SIGTERM']);
      assert.equal(user.localServer.events('stopped').length, 1, 'the server ended first');
    });
}

for (const action of ['Control-Q', 'Alt-F4', 'SIGTERM']) {
  test(`${action} kills a server that has ignored SIGTERM for 3 seconds`,
    { behaviour: { ignoresSignals: true } }, async (user, screen) => {
      const run = await user.startAndShowPage();
      await quitActions[action](run, screen);
      const { time, pid } = await waitFor('SIGTERM at the server', () =>
        user.localServer.events('signal')[0]);
      // A second request to quit has no effect.
      kill(run.pid, 'SIGTERM');
      const took = await user.awaitCleanExit(run) - time;
      // The server records the signal shortly after the application has begun to wait.
      assert.ok(took > 2800, `the application ended ${took} ms after SIGTERM`);
      await waitFor('the end of the server', () => !isRunning(pid));
      assert.deepEqual(receivedSignals(user), ['SIGTERM']);
    });
}

/// Waits until the server has ended, and fails unless it got SIGTERM only, which the kernel sends
/// when the application ends (PR_SET_PDEATHSIG).
async function assertServerTerminated(user) {
  await user.localServer.awaitServerExit();
  // When a thread ends, the kernel reparents its child to another thread of the process, whose
  // end sends the signal again.
  assert.deepEqual([...new Set(receivedSignals(user))], ['SIGTERM']);
}

for (const signal of ['SIGKILL', 'SIGABRT']) {
  test(`the server ends when ${signal} has ended the application`, async (user) => {
    const run = await user.startAndShowPage();
    await user.forceQuit(run, signal);
    await assertServerTerminated(user);
  });
}

test('the loss of the display ends the application and its server', async (user) => {
  const other = await Screen.open({ windowManager: false });
  try {
    const run = await user.startAndShowPage({ environment: { DISPLAY: other.display } });
    kill(other.xServer.pid);
    await user.awaitExit(run);
    await assertServerTerminated(user);
  } finally {
    await other.close();
  }
});
