// Every way to quit, with every kind of server.

import assert from 'node:assert/strict';
import { setImmediate as nextTurn } from 'node:timers/promises';

import { pageColour } from '../support/desktop/page.mjs';
import { isRunning, kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const errorColour = [7, 9, 12];

const ways = {
  "the menu's key": (run, screen) => screen.pressKeys('ctrl+q'),
  // The window manager asks the window to close, as its close button does.
  'closing the window': (run, screen) => screen.pressKeys('alt+F4'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
  SIGINT: (run) => kill(run.pid, 'SIGINT'),
  SIGHUP: (run) => kill(run.pid, 'SIGHUP'),
};

/// Waits for the ordinary end of the application.
async function endedWell(user, run) {
  const { code, signal, time } = await user.awaitExit(run);
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
  return time;
}

for (const [name, quit] of Object.entries(ways)) {
  test(`quitting by ${name} stops an obedient server`, {}, async (user, screen) => {
    const run = await user.startAndShowPage();
    await quit(run, screen);
    const end = await endedWell(user, run);
    assert.deepEqual(user.root.events('signal').map(({ signal }) => signal), ['SIGTERM']);
    const { time, pid } = user.root.events('signal')[0];
    assert.ok(!isRunning(pid), 'the server went first');
    assert.ok(end - time < 2500, `the end came ${end - time} ms after the stop`);
  });
}

test('no error page flashes while a slow server stops', { behaviour: { stopDelay: 700 } },
  async (user, screen) => {
    const run = await user.startAndShowPage();
    await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
    await screen.pressKeys('ctrl+q');
    let pictures = 0;
    await waitFor('end of the application', async () => {
      pictures += 1;
      assert.ok(!screen.screenshot().shows(errorColour), `picture ${pictures} shows another page`);
      await nextTurn();
      return run.exit;
    }, { every: 1 });
    // A page that flashes stays for the second that the server takes to stop.
    assert.ok(pictures >= 10, `only ${pictures} pictures were taken`);
    await endedWell(user, run);
    assert.equal(user.root.events('stopped').length, 1, 'the server came to its own end');
  });

for (const name of ["the menu's key", 'closing the window', 'SIGTERM']) {
  test(`quitting by ${name} kills a deaf server after 3 seconds`, { behaviour: { ignoresSignals: true } },
    async (user, screen) => {
      const run = await user.startAndShowPage();
      await ways[name](run, screen);
      const { time, pid } = await waitFor('SIGTERM', () => user.root.events('signal')[0]);
      // A second wish to quit, in between, changes nothing.
      kill(run.pid, 'SIGTERM');
      const end = await endedWell(user, run);
      const took = end - time;
      assert.ok(took > 2800 && took < 6000, `the end came after ${took} ms`);
      await waitFor('the end of the server', () => !isRunning(pid));
      assert.deepEqual(user.root.events('signal').map(({ signal }) => signal), ['SIGTERM']);
    });

  test(`quitting by ${name} ends at once when there is no server`, { behaviour: null },
    async (user, screen) => {
      const run = user.start();
      await screen.awaitPageText((page) => page.includes('Deze Mac'));
      const asked = Date.now();
      await ways[name](run, screen);
      const took = (await endedWell(user, run)) - asked;
      assert.ok(took < 2000, `the end came after ${took} ms`);
    });
}
