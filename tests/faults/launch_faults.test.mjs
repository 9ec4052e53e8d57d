// Early quits, many quits and many reloads.

import assert from 'node:assert/strict';

import { kill } from '../support/desktop/processes.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { isLong, scenarioTests } from './harness/scenario.mjs';

const test = scenarioTests();

const isPageRequested = ({ root }) => root.requests('/').length > 0;

/// The steps of a launch, each with a condition that holds once it has been reached.
const steps = {
  'process': () => true,
  'display connection': ({ user, run }) => /nl\.orvel/.test(run.output) ||
    user.processesNamed('orvel-os').length > 0,
  'network process': ({ user }) => user.processesNamed('WebKitNetworkProcess').length > 0,
  'web process': ({ user }) => user.processesNamed('WebKitWebProcess').length > 0,
  'window': async ({ screen }) => (await screen.windows()).length > 0,
  'lsof': ({ user }) => user.processesNamed('lsof').length > 0,
  'server process': ({ root }) => root.events('started').length > 0,
  'listening server': ({ root }) => root.events('listening').length > 0,
  'probe': ({ root }) => root.requests('/api/wie').length > 0,
  'page request': isPageRequested,
};

test('SIGTERM at each step and at moments of the launch', { timeout: 2_000_000 },
  async (scenario) => {
    const { user, root } = scenario;
    const begin = performance.now();
    await scenario.startAndShowPage();
    const duration = performance.now() - begin;
    await scenario.terminate();
    // A short step may be over before it is observed.
    const atSteps = Object.entries(steps).map(([step, isReached]) =>
      [step, async () => (await isReached(scenario)) || isPageRequested(scenario)]);
    const count = isLong ? 200 : 4;
    const atMoments = Array.from({ length: count }, (_, index) => (duration * index) / count)
      .map((moment) => [`${Math.round(moment)} ms`, (elapsed) => elapsed >= moment]);
    for (const [moment, isReached] of [...atSteps, ...atMoments]) {
      root.clearRecord();
      scenario.start();
      const start = performance.now();
      // The signal ends an application that does not handle it yet.
      scenario.run.killExpected = true;
      await waitFor(moment, () => isReached(performance.now() - start), { every: 1 });
      kill(scenario.run.pid, 'SIGTERM');
      const { code, signal } = await user.awaitExit(scenario.run);
      assert.ok(code === 0 || signal === 'SIGTERM', `${code} ${signal} ${scenario.run.output}`);
      await scenario.assertClean();
      scenario.t.diagnostic(`${moment}: ended by ${signal ?? 'exit'}`);
    }
  });

const rounds = isLong ? 1000 : 20;

test(`${rounds} starts and quits`, { timeout: rounds * 15_000 }, async (scenario) => {
  const begin = Date.now();
  for (let round = 1; round <= rounds; round += 1) {
    scenario.start();
    await scenario.root.awaitPainted(1);
    await scenario.childrenReaped();
    await scenario.terminate();
    await scenario.assertClean();
    scenario.root.clearRecord();
  }
  scenario.t.diagnostic(`${rounds} rounds took ${Date.now() - begin} ms`);
});

test('200 quick presses of Control-R', async (scenario) => {
  const { root, screen } = scenario;
  const pressOften = () =>
    screen.tool('xdotool', 'key', '--delay', '4', ...Array(200).fill('ctrl+r'));
  await scenario.startAndShowPage();
  await scenario.monitored(async () => {
    await pressOften();
    const requests = root.requests('/').length;
    await screen.pressKeys('ctrl+r');
    await waitFor('one more request', () => root.requests('/').length > requests);
    // Letters typed into the previous page are lost with it.
    const isTyped = () => root.reported('field').at(-1)?.value.endsWith('usable');
    await waitFor('the letters in the field', async () => {
      await screen.type('usable');
      return waitFor('the report', isTyped, { timeout: 2000 }).then(() => true, () => false);
    });
  }, { label: 'with a server' });
  assert.equal(root.events('started').length, 1);

  await scenario.monitored(async () => {
    await scenario.crashServer();
    const before = scenario.paints();
    await pressOften();
    await root.awaitStarted(2);
    await root.awaitPainted(before + 1);
    await screen.awaitPage();
  }, { label: 'without a server' });
  assert.equal(root.events('started').length, 2, 'one server for all presses');
});
