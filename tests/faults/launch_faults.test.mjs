// Starts and quits, as many and as early as can be, and a hundred presses of a
// key.

import assert from 'node:assert/strict';
import { setTimeout as pause } from 'node:timers/promises';

import { pageColour } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { isLong } from './harness/scenarios.mjs';
import { assertClean, endedWell, noZombies, underWatch } from './harness/invariants.mjs';

const { test } = desktopTests();

/// Ends a run that may not have come to the point where it answers a signal.
async function endedAtAnyStep(user, run) {
  await user.awaitExit(run);
  const { code, signal } = run.exit;
  assert.ok(code === 0 || signal === 'SIGTERM', `${code} ${signal} ${run.output}`);
  await assertClean(user);
  return signal ? 'by the signal' : 'by itself';
}

const steps = {
  'a process': () => true,
  'its connection to the screen': (user, run) => /nl\.orvel/.test(run.output) ||
    user.processesNamed('orvel-os').length > 0,
  'the network process': (user) => user.processesNamed('WebKitNetworkProcess').length > 0,
  'the web process': (user) => user.processesNamed('WebKitWebProcess').length > 0,
  'the window': async (user, run, screen) => (await screen.windows()).length > 0,
  'the command that looks at the port': (user) => user.processesNamed('lsof').length > 0,
  'the server': (user) => user.root.events('started').length > 0,
  'the listening server': (user) => user.root.events('listening').length > 0,
  'a probe': (user) => user.root.requests('/api/wie').length > 0,
  'the page': (user) => user.root.requests('/').length > 0,
};

test('SIGTERM at each step of the launch', { timeout: 200_000 }, async (user, screen, t) => {
  for (const [what, seen] of Object.entries(steps)) {
    // Each round looks at what the others have not left behind.
    user.root.clearRecord();
    const run = user.start();
    run.killExpected = true;
    // A short step may be over before it was seen.
    await waitFor(what, async () =>
      (await seen(user, run, screen)) || user.root.requests('/').length > 0, { every: 1 });
    kill(run.pid, 'SIGTERM');
    t.diagnostic(`${what}: ended ${await endedAtAnyStep(user, run)}`);
  }
});

test('SIGTERM at moments all over the launch', { timeout: 2_000_000 },
  async (user, screen, t) => {
    const begin = Date.now();
    const run = await user.startAndShowPage();
    const whole = Date.now() - begin;
    kill(run.pid, 'SIGTERM');
    await endedWell(user, run);
    const count = isLong ? 200 : 4;
    const ends = {};
    for (let number = 0; number < count; number += 1) {
      const early = user.start();
      early.killExpected = true;
      await pause((whole * number) / count);
      kill(early.pid, 'SIGTERM');
      const how = await endedAtAnyStep(user, early);
      ends[how] = (ends[how] ?? 0) + 1;
    }
    t.diagnostic(`in ${whole} ms ${count} moments: ${JSON.stringify(ends)}`);
  });

const rounds = isLong ? 1000 : 20;

test(`${rounds} starts and quits`, { timeout: rounds * 15_000 }, async (user, screen, t) => {
  const begin = Date.now();
  for (let round = 1; round <= rounds; round += 1) {
    const run = await user.startAndShowPage();
    await noZombies(run);
    kill(run.pid, 'SIGTERM');
    await endedWell(user, run);
    await assertClean(user);
    user.root.clearRecord();
  }
  t.diagnostic(`${rounds} rounds took ${Date.now() - begin} ms`);
});

test('200 quick presses of Control-R', {}, async (user, screen, t) => {
  const run = await user.startAndShowPage();
  await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  const press = () => screen.tool('xdotool', 'key', '--delay', '4',
    ...Array(200).fill('ctrl+r'));
  await underWatch(screen, run, t, { what: 'with a server' }, async () => {
    await press();
    const requests = user.root.requests('/').length;
    await screen.pressKeys('ctrl+r');
    await waitFor('one more', () => user.root.requests('/').length > requests);
    // The page before it looks the same, and takes what is typed along when it goes.
    await waitFor('the letters in the field', async () => {
      await screen.type('aap');
      return user.root.reported('field').at(-1)?.value.endsWith('aap');
    }, { every: 500 });
  });
  assert.equal(user.root.events('started').length, 1);

  await underWatch(screen, run, t, { what: 'without a server' }, async (watch) => {
    kill((await user.root.awaitStarted()).pid);
    await screen.awaitPageText((text) => text.includes('(code 9)'));
    const painted = user.root.reported('painted').length;
    await watch.allowing(async () => {
      await press();
      await user.root.awaitStarted(2);
    });
    await user.root.awaitPainted(painted + 1);
    await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  });
  assert.equal(user.root.events('started').length, 2, 'one server for all presses');
  await user.quit(run);
  await assertClean(user);
});
