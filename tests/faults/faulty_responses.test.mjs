// A server of this machine that answers wrongly while it is probed, shown and
// asked for files.

import assert from 'node:assert/strict';
import { rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { badAnswers } from './harness/faulty_responses.mjs';
import { assertClean, endedWell, underWatch } from './harness/invariants.mjs';

const { test } = desktopTests();

const errorColour = [7, 9, 12];
const body = 'een;twee\n'.repeat(2000);

const networkProcess = (user) => user.processesNamed('WebKitNetworkProcess')[0]?.pid;

/// Reloads the page and waits until it is shown. When the network process crashes because
/// of the previous response (libsoup 3.6.5), this load fails and the next one succeeds.
async function pageAgain(user, screen) {
  const before = user.root.reported('painted').length;
  const serving = networkProcess(user);
  const painted = () => user.root.reported('painted').length > before;
  const hasDied = () => ![undefined, serving].includes(networkProcess(user));
  await screen.pressKeys('ctrl+r');
  await waitFor('the page or another network process', () => painted() || hasDied());
  if (!painted()) {
    // If the process died before the load began, the page is shown.
    await waitFor('the page', painted, { timeout: 5000 }).catch(() => screen.pressKeys('ctrl+r'));
  }
  await user.root.awaitPainted(before + 1);
  await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
}

/// Does something with each answer that has an outcome in this place.
async function each(user, screen, t, place, run, body) {
  const gate = join(user.folder, 'verder');
  for (const [what, { route, outcomes }] of Object.entries(badAnswers(gate))) {
    const outcome = outcomes[place];
    if (!outcome) continue;
    rmSync(gate, { force: true });
    await underWatch(screen, run, t, { what: `${place}: ${what}` }, (watch) =>
      body(route, outcome, { gate, watch, what }));
  }
}

test('probes that are answered wrongly', { timeout: 120_000 }, async (user, screen, t) => {
  const run = await user.startAndShowPage();
  let starts = 1;
  await each(user, screen, t, 'polling', run, async (route, outcome, { gate, watch }) => {
    kill((await user.root.awaitStarted(starts)).pid);
    await waitFor('the error page', () => screen.screenshot().shows(errorColour));
    const painted = user.root.reported('painted').length;
    const before = user.root.requests('/api/wie').length;
    user.root.setBehaviour({ live: true, routes: { '/api/wie': { body: 'x'.repeat(50), ...route } } });
    starts += 1;
    await watch.allowing(async () => {
      await screen.pressKeys('ctrl+r');
      await user.root.awaitStarted(starts);
    });
    const asked = () => user.root.requests('/api/wie').length - before;
    if (outcome === 'again') {
      await waitFor('a second probe', () => asked() >= 2);
    } else if (outcome === 'ready') {
      await user.root.awaitPainted(painted + 1);
    } else {
      await waitFor('a long answer', () => user.root.events('chunkSent').length >= 4);
      assert.equal(asked(), 1);
      assert.equal(user.root.reported('painted').length, painted);
    }
    user.root.setBehaviour({ live: true });
    writeFileSync(gate, '');
    await user.root.awaitPainted(painted + 1);
    if (outcome !== 'again') assert.equal(asked(), 1);
  });
  await user.quit(run);
  await assertClean(user);
});

test('pages that are answered wrongly', { timeout: 120_000 }, async (user, screen, t) => {
  const page = '<p>woord</p>'.repeat(5000);
  user.root.setBehaviour({ live: true });
  const run = await user.startAndShowPage();
  await each(user, screen, t, 'page', run, async (route, outcome) => {
    const before = user.root.requests('/').length;
    const painted = user.root.reported('painted').length;
    user.root.setBehaviour({ live: true, routes: { '/': { page, ...route } } });
    await screen.pressKeys('ctrl+r');
    await waitFor('the request', () => user.root.requests('/').length > before);
    if (outcome === 'whole') await user.root.awaitPainted(painted + 1);
    user.root.setBehaviour({ live: true });
    await pageAgain(user, screen);
    assert.equal(user.root.reported('painted').length, painted + (outcome === 'whole' ? 2 : 1));
    assert.equal(user.root.events('started').length, 1);
  });

  // The last one lasts while the application is quit.
  const before = user.root.requests('/').length;
  user.root.setBehaviour({ live: true, routes: { '/': { page, endless: true } } });
  await screen.pressKeys('ctrl+r');
  await waitFor('the request', () => user.root.requests('/').length > before);
  kill(run.pid, 'SIGTERM');
  await endedWell(user, run);
  await assertClean(user);
});

test('files that are answered wrongly', { timeout: 120_000 }, async (user, screen, t) => {
  const desktop = new Desktop(user);
  const gate = join(user.folder, 'verder');
  const answers = Object.values(badAnswers(gate));
  const paths = answers.map((_, at) => `/api/bestand/f${at}`);
  const page = paths.map((path, at) => `<a id="f${at}" href="${path}">${at}</a>`).join('');
  const file = { headers: { 'content-type': 'text/csv' }, body };
  const layout = await user.startWithPage(page, {
    routes: Object.fromEntries(answers.map(({ route }, at) => [paths[at], { ...file, ...route }])),
  });
  const [run] = user.runs;
  let number = -1;
  const saved = [];
  await each(user, screen, t, 'download', run, async (_, outcome, { what }) => {
    number = Object.keys(badAnswers(gate)).indexOf(what);
    await screen.clickElement(layout, `f${number}`);
    const path = paths[number];
    await waitFor('the request', () => user.root.requests(path).length === 1);
    if (outcome === 'whole') {
      assert.equal(await desktop.awaitFile(`f${number}.csv`), body);
      saved.push(`f${number}.csv`);
    } else if (outcome === 'nothing') {
      await waitFor('the end of the answer', () =>
        user.root.events('responseClosed').some(({ url }) => url === path));
    } else if (outcome === 'waits' && what !== 'nothing at all') {
      await waitFor('a long answer', () =>
        user.root.events('chunkSent').filter(({ url }) => url === path).length >= 2);
    }
    assert.deepEqual(desktop.files(), saved);
  });

  // Three of them last while the application is quit.
  kill(run.pid, 'SIGTERM');
  await endedWell(user, run);
  assert.deepEqual(desktop.files(), saved);
  const whole = saved.map((name) => join(desktop.downloads, name));
  assert.deepEqual(await desktop.openedAfterExit(), whole);
  await assertClean(user);
});
