// Faulty responses to each request that the application makes.

import assert from 'node:assert/strict';
import { rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { checkForUpdates, upToDateNotice } from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { scenarioTests } from './harness/scenario.mjs';

const test = scenarioTests();

const manifest = '/download/linux.json';

const rejected = { probe: 'retried', page: 'lost', file: 'nothing', manifest: 'failed' };
const accepted = { probe: 'ready', page: 'shown', file: 'complete', manifest: 'accepted' };
const pending = { probe: 'waits', page: 'lost', file: 'waits', manifest: 'waits' };

/// Each faulty response with its outcome for each request; undefined where another test
/// covers it. An archive is downloaded like a file.
const responses = {
  'connection reset': { route: { reset: true }, outcomes: rejected },
  // A probe needs only the response head.
  'truncated body': {
    route: { truncated: true },
    outcomes: { ...rejected, probe: 'ready', file: undefined },
  },
  'truncated chunk': {
    route: { truncatedChunk: true },
    outcomes: { ...rejected, probe: 'ready' },
  },
  // libsoup rejects a response head of more than some hundred kilobytes.
  '100,000 header fields': { route: { headerFields: 100_000 }, outcomes: rejected },
  'no response': {
    route: { noReply: true },
    outcomes: { ...pending, probe: undefined, manifest: undefined },
  },
  'one byte a second': { route: { trickle: 'gate' }, outcomes: pending },
  // The application reads at most 64 MiB of a text.
  'endless body': {
    route: { endless: true },
    outcomes: { ...pending, probe: 'ready', manifest: 'failed', file: undefined },
  },
  '1,000 header fields': { route: { headerFields: 1000 }, outcomes: accepted },
};

/// Monitors the application during each response that has an outcome for this request.
/// A slow response completes once the file `scenario.gate` exists.
async function forEachResponse(scenario, request, body) {
  scenario.gate = join(scenario.user.folder, 'gate');
  for (const [title, { route, outcomes }] of Object.entries(responses)) {
    const outcome = outcomes[request];
    if (!outcome) continue;
    rmSync(scenario.gate, { force: true });
    const own = route.trickle ? { trickle: scenario.gate } : route;
    await scenario.monitored(() => body(own, outcome, title), { label: `${request}: ${title}` });
  }
}

test('faulty responses to probes', async (scenario) => {
  const { root } = scenario;
  const probes = () => root.requests('/api/wie').length;
  await scenario.startAndShowPage();
  await forEachResponse(scenario, 'probe', async (route, outcome) => {
    await scenario.crashServer();
    const paints = scenario.paints();
    const before = probes();
    scenario.setRoutes({ '/api/wie': { body: 'x'.repeat(50), ...route } });
    await scenario.restartServer();
    if (outcome === 'retried') {
      await waitFor('a second probe', () => probes() >= before + 2);
    } else if (outcome === 'ready') {
      await root.awaitPainted(paints + 1);
    } else {
      await waitFor('four bytes', () => root.events('chunkSent').length >= 4);
      assert.equal(probes(), before + 1);
      assert.equal(scenario.paints(), paints);
    }
    scenario.setRoutes();
    writeFileSync(scenario.gate, '');
    await root.awaitPainted(paints + 1);
    if (outcome !== 'retried') assert.equal(probes(), before + 1);
  });
});

/// Reloads the page and waits until it is shown. When the network process crashes because
/// of the previous response (libsoup 3.6.5), this load fails and the next one succeeds.
async function reloadAfterFault(scenario) {
  const networkProcess = () => scenario.user.processesNamed('WebKitNetworkProcess')[0]?.pid;
  const before = scenario.paints();
  const first = networkProcess();
  const isPainted = () => scenario.paints() > before;
  const hasCrashed = () => ![undefined, first].includes(networkProcess());
  await scenario.screen.pressKeys('ctrl+r');
  await waitFor('the page or another network process', () => isPainted() || hasCrashed());
  if (!isPainted()) {
    // If the process crashed before the load began, the page is shown.
    await waitFor('the page', isPainted, { timeout: 5000 })
      .catch(() => scenario.screen.pressKeys('ctrl+r'));
  }
  await scenario.root.awaitPainted(before + 1);
  await scenario.screen.awaitPage();
}

test('faulty responses to the page', async (scenario) => {
  const { screen, root } = scenario;
  const page = '<p>text</p>'.repeat(5000);
  const request = async (route) => {
    const before = root.requests('/').length;
    scenario.setRoutes({ '/': { page, ...route } });
    await screen.pressKeys('ctrl+r');
    await waitFor('the request', () => root.requests('/').length > before);
  };
  scenario.setRoutes();
  await scenario.startAndShowPage();
  await forEachResponse(scenario, 'page', async (route, outcome) => {
    const before = scenario.paints();
    const shown = before + (outcome === 'shown' ? 1 : 0);
    await request(route);
    await root.awaitPainted(shown);
    scenario.setRoutes();
    await reloadAfterFault(scenario);
    assert.equal(scenario.paints(), shown + 1);
    assert.equal(root.events('started').length, 1);
  });
  // The application quits during an endless response.
  await request({ endless: true });
  await scenario.terminate();
});

test('faulty responses to files', async (scenario) => {
  const { user, screen, root } = scenario;
  const desktop = new Desktop(user);
  const csv = { headers: { 'content-type': 'text/csv' }, body: 'one;two\n'.repeat(2000) };
  const path = '/api/bestand/file';
  const link = `<a id="file" href="${path}">file</a>`;
  const layout = await scenario.startWithPage(link, { live: true });
  let requests = 0;
  const saved = [];
  await forEachResponse(scenario, 'file', async (route, outcome, title) => {
    const closed = root.events('responseClosed').filter(({ url }) => url === path).length;
    const sent = root.events('chunkSent').length;
    scenario.setRoutes({ [path]: { ...csv, ...route } });
    await screen.clickElement(layout, 'file');
    requests += 1;
    await waitFor('the request', () => root.requests(path).length === requests);
    if (outcome === 'complete') {
      assert.equal(await desktop.awaitFile('file.csv'), csv.body);
      saved.push('file.csv');
    } else if (outcome === 'nothing') {
      await waitFor('the end of the response', () =>
        root.events('responseClosed').filter(({ url }) => url === path).length > closed);
    } else if (title !== 'no response') {
      await waitFor('two bytes', () => root.events('chunkSent').length >= sent + 2);
    }
    assert.deepEqual(desktop.files(), saved);
  });
  // The application quits while two responses are pending.
  await scenario.terminate();
  assert.deepEqual(desktop.files(), saved);
  assert.deepEqual(await desktop.openedAfterExit(), [desktop.path('file.csv')]);
});

test('faulty responses to the manifest', { timeout: 180_000 }, async (scenario) => {
  const { screen } = scenario;
  await scenario.online(async (server, routes) => {
    await forEachResponse(scenario, 'manifest', async (route, outcome) => {
      routes[manifest] = { body: JSON.stringify({ versie: '1.0', zip: 'x.zip' }), ...route };
      if (outcome !== 'waits') {
        const failed = 'Kon niet controleren op updates.';
        await checkForUpdates(screen, outcome === 'failed' ? failed : upToDateNotice());
        return;
      }
      const before = server.requestsTo(manifest).length;
      await screen.chooseApplicationItem(1);
      await waitFor('the request', () => server.requestsTo(manifest).length > before);
      // The window stays usable, and the complete response counts.
      await screen.pressKeys('ctrl+r');
      await server.awaitPainted(2);
      assert.deepEqual(await screen.windows(upToDateNotice()), []);
      writeFileSync(scenario.gate, '');
      await screen.awaitPanel(upToDateNotice());
      await screen.closePanel(upToDateNotice());
    });
  });
});
