// What the web engine offers beside the page, its context menu and drops on the
// window, leads nowhere that the page could not go.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { isRunning, kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const beacon = 'https://baken.test/';
const link = (id, href) =>
  `<a id="${id}" href="${href}" onmouseenter="report('boven', '${id}')">${id}</a>`;
const text = (body) => ({ headers: { 'content-type': 'text/plain' }, body });

/// Clicks a link when no menu is open any more: one that has just closed may
/// still have the mouse to itself.
async function clickAfterMenu(user, screen, layout, id, options) {
  await screen.awaitMenu(false);
  await screen.hoverElement(layout, id);
  await waitFor(`the mouse over ${id}`, () => user.root.reported('boven').at(-1) === id);
  await screen.clickElement(layout, id, options);
}

/// Chooses an item of a link's context menu, by keys; the first is chosen when
/// the menu opens.
async function chooseFromMenu(user, screen, layout, id, item) {
  await clickAfterMenu(user, screen, layout, id, { button: 3 });
  await screen.awaitMenu();
  await saveScreenshot('context-menu');
  await screen.pressKeys(...Array(item).fill('Down'), 'Return');
}

const open = 0;
const downloadLinkedFile = 1;

const elsewhere = (id) => `https://elders.test/${id}`;

/// Chooses the item for each link by its name, then clicks the beacon; gives
/// the files that came of it. `choices` tells for each link its address, its
/// item and what is opened.
async function followMenu(user, screen, choices) {
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(
    Object.entries(choices).map(([id, [href]]) => link(id, href)).join('') + link('baken', beacon),
    { routes: { '/gewoon': text('gewoon'), '/api/bestand/los': text('los') } });
  const maxWindows = screen.watchWindowCount();
  const opened = [beacon];
  for (const [id, [href, item, name]] of Object.entries(choices)) {
    await chooseFromMenu(user, screen, layout, id, item);
    opened.push(name ? join(desktop.downloads, name) : href);
    await desktop.awaitOpened(opened.at(-1));
  }
  await clickAfterMenu(user, screen, layout, 'baken');
  await desktop.awaitOpened(beacon);
  assert.equal(user.root.reported('painted').length, 1, 'the page stays');
  for (const [href] of Object.values(choices).filter(([, , name]) => name)) {
    const keys = user.root.requests(href).map(({ headers }) => headers['x-orvel-app']);
    assert.deepEqual(keys, [KEY], href);
  }
  await user.quit();
  assert.deepEqual(await desktop.openedAfterExit(), opened.sort());
  assert.equal(await maxWindows(), 1, 'a second window was seen');
}

test("the context menu's own way to open a link follows the rules", {},
  (user, screen) => followMenu(user, screen, {
    other: [elsewhere('open'), open],
    file: ['/api/bestand/los', open, 'los.txt'],
  }));

test("the context menu's own way to download is the application's way", {},
  (user, screen) => followMenu(user, screen, {
    other: [elsewhere('bestand'), downloadLinkedFile],
    own: ['/gewoon', downloadLinkedFile, 'gewoon.txt'],
    file: ['/api/bestand/los', downloadLinkedFile, 'los.txt'],
  }));

// Built beside the application when the tests are.
const source = process.env.ORVEL_DRAG_SOURCE;
const skip = source && existsSync(source) ? false : 'ORVEL_DRAG_SOURCE does not name a program';

/// Drags a file or an address over the window and lets it go at a place, where
/// the page `sees` it before that; waits until both sides are done with it.
async function drop(user, screen, what, [x, y], sees) {
  const child = spawn(source, [what], { env: user.environment, stdio: 'ignore' });
  try {
    const window = await waitFor('the source', async () => (await screen.windows('Bron'))[0]);
    const [fromX, fromY] = [80, 580];
    const at = (from, to, share) => String(Math.round(from + (to - from) * share));
    await screen.tool('xdotool', 'windowmove', '--sync', window, '20', '500');
    await waitFor('the source on the screen', () =>
      !screen.screenshot().shows(pageColour, fromX, fromY));
    const move = (share) =>
      screen.tool('xdotool', 'mousemove', at(fromX, x, share), at(fromY, y, share));
    await move(0);
    await screen.tool('xdotool', 'mousedown', '1');
    // A drag begins with a stretch of way, and its target answers each step.
    for (let step = 1; step <= 20; step += 1) await move(step / 20);
    await waitFor('the drag over its target', async () => {
      await move(0.99);
      await move(1);
      return sees();
    });
    await screen.tool('xdotool', 'mouseup', '1');
    await waitFor('the end of the drag', () => !isRunning(child.pid));
  } finally {
    kill(child.pid);
    await screen.awaitWindowCount(1);
  }
}

test('what is dropped on the window does not take the place of the page', { skip },
  async (user, screen) => {
    const desktop = new Desktop(user);
    const layout = await user.startWithPage(`${link('baken', beacon)}
      <button id="doel" style="height: 100px">hier</button>
      <button id="naast" style="height: 100px; margin-top: 100px">niet hier</button>
      <script>
        addEventListener('dragover', ({ target }) => report('boven', target.id));
        doel.addEventListener('dragover', (event) => event.preventDefault());
        doel.addEventListener('drop', (event) => {
          event.preventDefault();
          report('gevallen', [...event.dataTransfer.types]);
        });
      </script>`);
    const file = join(user.folder, 'gevallen.html');
    writeFileSync(file, '<h1>gevallen</h1>');
    const dropOn = (id, what) => {
      // More than once, so that the first answer is back at the source.
      const times = () => user.root.reported('boven').filter((over) => over === id).length;
      const before = times();
      return drop(user, screen, what, screen.positionOf(layout, id), () => times() > before + 2);
    };

    // That drops arrive at all is seen where the page wants one.
    await dropOn('doel', file);
    await waitFor('a drop on the page', () => user.root.reported('gevallen').length === 1);
    assert.ok(user.root.reported('gevallen')[0].includes('text/uri-list'));
    await dropOn('naast', file);
    await dropOn('naast', 'https://elders.test/gevallen');

    await screen.clickElement(layout, 'baken');
    await desktop.awaitOpened(beacon);
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [beacon, 'https://elders.test/gevallen']);
    assert.equal(user.root.reported('painted').length, 1, 'the page stays');
    assert.equal(user.root.reported('gevallen').length, 1);
  });
