import assert from 'node:assert/strict';
import { rmSync, writeFileSync } from 'node:fs';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { link } from '../support/desktop/page.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';
import {
  beginUpdateCheck, checkAndCloseNotice, checkFailedNotice, manifestPath, startWithUpdateServer,
  upToDateNotice,
} from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

/// The outcomes for each request: of a probe of the local server (/api/wie), the page, a download
/// and the manifest of an update check. `reloads`: a reload afterwards shows the page.
/// `failed`: the check reports a failure. `waits`: the response is pending.
const rejected = { probe: 'retried', page: 'reloads', file: 'no file', manifest: 'failed' };
const accepted = { probe: 'ready', page: 'shown', file: 'complete', manifest: 'accepted' };
const pending = { probe: 'waits', page: 'reloads', file: 'waits', manifest: 'waits' };

/// Each response with its outcome for each request, or undefined where another test covers it.
/// The request for the archive of a release is left out, because it is downloaded like a file.
const faultyResponses = {
  'connection reset': { route: { reset: true }, outcomes: rejected },
  // A probe succeeds by the status 200 alone, even if the body fails, but waits for a slow body.
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
    // A probe has a timeout of 3 seconds.
    outcomes: { ...pending, probe: 'retried', manifest: undefined },
  },
  // forEachResponse() replaces `true` by the path `user.gate`.
  'one byte a second': { route: { trickle: true }, outcomes: pending },
  // The application reads at most 64 MiB of the body of a probe or manifest.
  'endless body': {
    route: { endless: true },
    outcomes: { ...pending, probe: 'ready', manifest: 'failed', file: undefined },
  },
  '1,000 header fields': { route: { headerFields: 1000 }, outcomes: accepted },
};

/// Runs the body for each response that has an outcome for this request. The response of one byte
/// a second completes once the file `user.gate` exists.
async function forEachResponse(user, t, request, body) {
  for (const [title, { route, outcomes }] of Object.entries(faultyResponses)) {
    const outcome = outcomes[request];
    if (!outcome) continue;
    rmSync(user.gate, { force: true });
    await body(route.trickle ? { trickle: user.gate } : route, outcome);
    t.diagnostic(`${title}: ${outcome}`);
  }
}

test('faulty responses to a probe are retried, awaited or accepted', async (user, screen, t) => {
  const { localServer } = user;
  const probeCount = () => localServer.requestsTo('/api/wie').length;
  await user.startAndShowPage();
  await forEachResponse(user, t, 'probe', async (route, outcome) => {
    await user.crashServer();
    const paints = localServer.paintCount();
    const before = probeCount();
    const sent = localServer.events('chunkSent').length;
    // At one byte a second this body takes longer than the test waits.
    localServer.setRoutes({ '/api/wie': { body: 'x'.repeat(50), ...route } });
    await user.restartServer();
    if (outcome === 'retried') {
      await localServer.awaitRequest('/api/wie', before + 2);
    } else if (outcome === 'ready') {
      await localServer.awaitPainted(paints + 1);
    } else {
      // The timeout of a probe, 3 seconds, begins anew with each byte.
      await waitFor('four bytes', () => localServer.events('chunkSent').length >= sent + 4);
      assert.equal(probeCount(), before + 1);
      assert.equal(localServer.paintCount(), paints);
    }
    localServer.setRoutes();
    writeFileSync(user.gate, '');
    await localServer.awaitPainted(paints + 1);
    if (outcome !== 'retried') assert.equal(probeCount(), before + 1);
  });
});

test('Control-R shows the page after each faulty response', async (user, screen, t) => {
  const { localServer } = user;
  const page = '<p>text</p>'.repeat(5000);
  const requestPage = async (route) => {
    const before = localServer.requestsTo('/').length;
    localServer.setRoutes({ '/': { page, ...route } });
    await screen.pressKeys('ctrl+r');
    await localServer.awaitRequest('/', before + 1);
  };
  await user.startAndShowPage();
  await forEachResponse(user, t, 'page', async (route, outcome) => {
    const before = localServer.paintCount();
    await requestPage(route);
    if (outcome === 'shown') await localServer.awaitPainted(before + 1);
    localServer.setRoutes();
    // A previous response may crash the network process (libsoup 3.6.5). The next load then
    // fails, and the one after it succeeds.
    await user.reload();
    assert.equal(localServer.events('started').length, 1);
  });
  // The application quits during an endless response.
  await requestPage({ endless: true });
  await user.terminate();
});

test('faulty responses to a download leave no partial file', async (user, screen, t) => {
  const { localServer } = user;
  const desktop = new Desktop(user);
  const csv = csvRoute('one;two\n'.repeat(2000));
  // Links to paths below /api/bestand/ are downloaded. The media type gives the extension.
  const path = '/api/bestand/file';
  const layout = await user.startWithPage(link('file', path));
  let requests = 0;
  let closed = 0;
  const saved = [];
  await forEachResponse(user, t, 'file', async (route, outcome) => {
    const sent = localServer.events('chunkSent').length;
    localServer.setRoutes({ [path]: { ...csv, ...route } });
    await screen.clickElement(layout, 'file');
    requests += 1;
    await localServer.awaitRequest(path, requests);
    if (outcome === 'complete') {
      assert.equal(await desktop.awaitOpenedFile('file.csv'), csv.body);
      saved.push('file.csv');
    } else if (outcome === 'no file') {
      closed += 1;
      await localServer.awaitResponseClosed(path, closed);
    } else if (route.trickle) {
      await waitFor('two bytes', () => localServer.events('chunkSent').length >= sent + 2);
    }
    assert.deepEqual(desktop.downloadedFiles(), saved);
  });
  // The application quits during "no response" and "one byte a second".
  await user.terminate();
  assert.deepEqual(desktop.downloadedFiles(), saved);
  assert.equal(localServer.requestsTo(path).length, requests);
  await desktop.awaitEndAndAssertOpened('file.csv');
});

test('faulty manifest responses are reported, awaited or accepted', async (user, screen, t) => {
  const server = await startWithUpdateServer(user);
  await forEachResponse(user, t, 'manifest', async (route, outcome) => {
    const body = JSON.stringify({ versie: '1.0', zip: 'x.zip' });
    server.routes[manifestPath] = { body, ...route };
    if (outcome !== 'waits') {
      const notice = outcome === 'failed' ? checkFailedNotice : upToDateNotice();
      await checkAndCloseNotice(screen, notice);
      return;
    }
    const before = server.requestsTo(manifestPath).length;
    await beginUpdateCheck(screen);
    await server.awaitRequest(manifestPath, before + 1);
    // The page can be reloaded during the check, and the notice comes after the whole response.
    await user.reload(server);
    assert.deepEqual(await screen.windows(upToDateNotice()), []);
    writeFileSync(user.gate, '');
    await screen.awaitPanel(upToDateNotice());
    await screen.closePanel(upToDateNotice());
  });
});
