// The items of a link's context menu, and drops on the window.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop, barrierUrl } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { link, pageColour } from '../support/desktop/page.mjs';
import { isRunning, kill } from '../support/desktop/processes.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

/// Returns a link that reports when the pointer is over it.
const linkReportingHover = (id, href) => link(id, href, `onmouseenter="report('hover', '${id}')"`);
const textRoute = (body) => ({ headers: { 'content-type': 'text/plain' }, body });

/// Clicks a link once the page gets pointer events. A menu that has just closed may still grab
/// the pointer.
async function clickWhenMenuClosed(user, screen, layout, id, options) {
  await screen.awaitMenuClosed();
  await screen.hoverElement(layout, id);
  await waitFor(`the pointer over ${id}`, () => user.root.reported('hover').at(-1) === id);
  await screen.clickElement(layout, id, options);
}

/// The positions of "Open Link" and "Download Linked File" in the context menu.
const openItem = 0;
const downloadItem = 1;

/// Chooses an item of each link's context menu, clicks the barrier link, quits, and fails unless
/// each link has been opened or downloaded. `choices` has for each link its URL, the item, and
/// the name of the file if one is downloaded.
async function assertMenuChoices(user, screen, choices) {
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(
    choices.map(([href], index) => linkReportingHover(`link${index}`, href)).join('') +
    linkReportingHover('barrier', barrierUrl),
    { routes: { '/page': textRoute('page'), '/api/bestand/stored': textRoute('stored') } });
  const opened = [barrierUrl];
  for (const [index, [href, item, name]] of choices.entries()) {
    await clickWhenMenuClosed(user, screen, layout, `link${index}`, { button: 3 });
    await screen.awaitMenuOpen();
    await saveScreenshot('context-menu');
    // The menu opens with its first item selected.
    await screen.pressKeys(...Array(item).fill('Down'), 'Return');
    opened.push(name ? desktop.downloadPath(name) : href);
    await desktop.awaitOpened(opened.at(-1));
  }
  await clickWhenMenuClosed(user, screen, layout, 'barrier');
  await desktop.awaitOpened(barrierUrl);
  for (const [href] of choices.filter(([, , name]) => name)) {
    const keys = user.root.requestsTo(href).map(({ headers }) => headers['x-orvel-app']);
    assert.deepEqual(keys, [APP_KEY], href);
  }
  await desktop.quitAndAssertOpened(...opened);
}

test('"Open Link" opens other sites in their default application and downloads stored files',
  (user, screen) =>
  assertMenuChoices(user, screen, [
    ['https://elsewhere.test/open', openItem],
    ['/api/bestand/stored', openItem, 'stored.txt'],
  ]));

test('"Download Linked File" downloads from the server with the key and opens other sites',
  (user, screen) => assertMenuChoices(user, screen, [
    ['https://elsewhere.test/file', downloadItem],
    ['/page', downloadItem, 'page.txt'],
    ['/api/bestand/stored', downloadItem, 'stored.txt'],
  ]));

const dragSource = process.env.ORVEL_DRAG_SOURCE;
const skip = dragSource && existsSync(dragSource)
  ? false : 'ORVEL_DRAG_SOURCE does not name a program';

/// Drags a file or URL to a position of the page, waits until `isDragSeen`, and drops it there.
async function dragAndDrop(user, screen, content, [x, y], isDragSeen) {
  const child = spawn(dragSource, [content], { env: user.environment, stdio: 'ignore' });
  try {
    const window = await waitFor('the window of the drag source', async () =>
      (await screen.windows('Drag source'))[0]);
    // The source's window covers this position after its move.
    const [fromX, fromY] = [80, 580];
    await screen.runTool('xdotool', 'windowmove', '--sync', window, '20', '500');
    await waitFor('the drag source on the screen', () =>
      !screen.screenshot().shows(pageColour, fromX, fromY));
    /// Moves the pointer along the line from the source (0) to the target (1).
    const moveTo = (share) =>
      screen.movePointer(fromX + (x - fromX) * share, fromY + (y - fromY) * share);
    await moveTo(0);
    await screen.runTool('xdotool', 'mousedown', '1');
    // GTK starts a drag after some distance, and the target responds to each step.
    for (let step = 1; step <= 20; step += 1) await moveTo(step / 20);
    await waitFor('the drag over its target', async () => {
      await moveTo(0.99);
      await moveTo(1);
      return isDragSeen();
    });
    await screen.runTool('xdotool', 'mouseup', '1');
    await waitFor('the end of the drag', () => !isRunning(child.pid));
  } finally {
    kill(child.pid);
    await screen.awaitWindowCount(1);
  }
}

test('a drop reaches an element that accepts it, and never replaces the page', { skip },
  async (user, screen) => {
    const desktop = new Desktop(user);
    const layout = await user.startWithPage(`${link('barrier', barrierUrl)}
      <button id="target" style="height: 100px">drop here</button>
      <button id="other" style="height: 100px; margin-top: 100px">not here</button>
      <script>
        addEventListener('dragover', ({ target }) => report('dragover', target.id));
        target.addEventListener('dragover', (event) => event.preventDefault());
        target.addEventListener('drop', (event) => {
          event.preventDefault();
          report('drop', [...event.dataTransfer.types]);
        });
      </script>`);
    const file = join(user.folder, 'dropped.html');
    writeFileSync(file, '<h1>dropped</h1>');
    const dropOn = (id, content) => {
      const count = () => user.root.reported('dragover').filter((over) => over === id).length;
      const before = count();
      // After several events, the response to the first has reached the source.
      const isDragSeen = () => count() > before + 2;
      return dragAndDrop(user, screen, content, screen.positionOf(layout, id), isDragSeen);
    };

    await dropOn('target', file);
    assert.ok((await user.root.awaitReport('drop')).includes('text/uri-list'));
    await dropOn('other', file);
    await dropOn('other', 'https://elsewhere.test/dropped');

    await desktop.clickBarrierLink(layout);
    user.root.assertPageLoadedOnce();
    assert.equal(user.root.reported('drop').length, 1);
    await user.quit();
    await user.awaitProcessesEnded();
    assert.deepEqual(desktop.opened().sort(), [barrierUrl, 'https://elsewhere.test/dropped']);
  });
