// The application dies without stopping its server: the kernel sends it SIGTERM.

import assert from 'node:assert/strict';

import { kill } from '../support/desktop/processes.mjs';
import { Screen } from '../support/desktop/screen.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';

const { test } = desktopTests();

/// Waits for the end of the server and checks that it got SIGTERM.
async function serverAskedToEnd(user) {
  await user.root.awaitServerExit();
  // There may be several: when a thread ends, the kernel reparents the child to another
  // thread of the same process, whose end sends the signal again.
  const signals = new Set(user.root.events('signal').map(({ signal }) => signal));
  assert.deepEqual([...signals], ['SIGTERM']);
  await user.assertNothingLeft();
}

test('SIGKILL of the application ends its server', {}, async (user) => {
  await user.startAndShowPage();
  await user.forceQuit();
  await serverAskedToEnd(user);
});

test('a crash of the application ends its server', {}, async (user) => {
  const run = await user.startAndShowPage();
  run.killExpected = true;
  kill(run.pid, 'SIGABRT');
  await user.awaitExit(run);
  await serverAskedToEnd(user);
});

test('the loss of the display ends the application and its server', {}, async (user) => {
  const doomed = await Screen.open({ windowManager: false });
  try {
    const run = await user.startAndShowPage({ environment: { DISPLAY: doomed.display } });
    kill(doomed.server.pid);
    await user.awaitExit(run);
    await serverAskedToEnd(user);
  } finally {
    await doomed.close();
  }
});
