import assert from 'node:assert/strict';

import { desktopTests, isLongForm } from '../support/desktop/desktop_test.mjs';
import { assertNoLeftovers } from '../support/desktop/leftovers.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const isPageRequested = ({ localServer }) => localServer.requestsTo('/').length > 0;

/// The steps of a launch, each with a condition that holds once the step has been reached.
const launchSteps = {
  'spawn': () => true,
  'application process': (user) => user.processesNamed('orvel-os').length > 0,
  'network process': (user) => user.processesNamed('WebKitNetworkProcess').length > 0,
  'web process': (user) => user.processesNamed('WebKitWebProcess').length > 0,
  'window': async ({ screen }) => (await screen.windows()).length > 0,
  // The application looks for a stale server with lsof.
  'lsof': (user) => user.processesNamed('lsof').length > 0,
  'server process': ({ localServer }) => localServer.events('started').length > 0,
  'listening server': ({ localServer }) => localServer.events('listening').length > 0,
  'probe': ({ localServer }) => localServer.requestsTo('/api/wie').length > 0,
  'page request': isPageRequested,
};

test('SIGTERM at any moment of the launch leaves nothing behind', async (user, screen, t) => {
  const begin = performance.now();
  await user.startAndShowPage();
  const duration = performance.now() - begin;
  await user.terminate();
  // A short step may be over before the test sees it, so the last step ends every wait.
  const atSteps = Object.entries(launchSteps).map(([step, isReached]) =>
    [step, async () => (await isReached(user)) || isPageRequested(user)]);
  const momentCount = isLongForm ? 200 : 4;
  const interval = duration / momentCount;
  const atMoments = Array.from({ length: momentCount }, (_, index) => interval * index)
    .map((moment) => [`${Math.round(moment)} ms`, (elapsed) => elapsed >= moment]);
  for (const [moment, isReached] of [...atSteps, ...atMoments]) {
    user.localServer.clearRecord();
    const run = user.start();
    const start = performance.now();
    // SIGTERM ends an application that has not installed its handler yet.
    run.killExpected = true;
    await waitFor(moment, () => isReached(performance.now() - start), { every: 1 });
    kill(run.pid, 'SIGTERM');
    const { code, signal } = await user.awaitExit(run);
    assert.ok(code === 0 || signal === 'SIGTERM',
      `exit code ${code}, signal ${signal}: ${run.output}`);
    await assertNoLeftovers(user);
    t.diagnostic(`${moment}: ended by ${signal ?? 'exit'}`);
  }
});

const rounds = isLongForm ? 1000 : 20;

test(`${rounds} starts and quits leave nothing behind`, async (user) => {
  for (let round = 1; round <= rounds; round += 1) {
    await user.startAndShowPage();
    await user.terminate();
    await assertNoLeftovers(user);
    user.localServer.clearRecord();
  }
});

test('200 quick presses of Control-R start at most one server', async (user, screen) => {
  const { localServer } = user;
  const pressReload200Times = () =>
    screen.runTool('xdotool', 'key', '--delay', '4', ...Array(200).fill('ctrl+r'));
  await user.startAndShowPage();
  await pressReload200Times();
  const requests = localServer.requestsTo('/').length;
  await screen.pressKeys('ctrl+r');
  await localServer.awaitRequest('/', requests + 1);
  await user.typeIntoField('usable');
  assert.equal(localServer.events('started').length, 1);

  await user.crashServer();
  const before = localServer.paintCount();
  await pressReload200Times();
  await localServer.awaitStarted(2);
  await localServer.awaitPainted(before + 1);
  await screen.awaitPageOnScreen();
  assert.equal(localServer.events('started').length, 2, 'one server for all presses');
});
