import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop, barrierLink, barrierUrl } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { isRunning } from '../support/desktop/processes.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// Drags a file or URL from the window of drag_source.cc to a position of the screen, and drops it
/// there once isDragSeen() is true.
async function dragAndDrop(user, screen, content, [x, y], isDragSeen) {
  const child = spawn(process.env.ORVEL_DRAG_SOURCE, [content], {
    env: user.environment, stdio: 'ignore',
  });
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
    // GTK sends events only while the pointer moves.
    await moveTo(0.99);
    await moveTo(1);
    return isDragSeen();
  });
  await screen.runTool('xdotool', 'mouseup', '1');
  await waitFor('the end of the drag', () => !isRunning(child.pid));
  await screen.awaitWindowCount(1);
}

test('a drop reaches an element that accepts it; elsewhere the browser opens a dropped web URL',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const layout = await user.startWithPage(`${barrierLink}
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
      const count = () =>
        user.localServer.reported('dragover').filter((over) => over === id).length;
      const before = count();
      // A source that has not learned yet whether the target accepts the drop would cancel it.
      // After several events, the response to the first one has reached the source.
      const isDragSeen = () => count() > before + 2;
      return dragAndDrop(user, screen, content, screen.positionOf(layout, id), isDragSeen);
    };

    await dropOn('target', file);
    assert.ok((await user.localServer.awaitReport('drop')).includes('text/uri-list'));
    await dropOn('other', file);
    await dropOn('other', 'https://elsewhere.test/dropped');

    // Once the barrier link is opened, the application has handled all drops.
    await desktop.clickBarrierLink(layout);
    user.localServer.assertPageLoadedOnce();
    assert.equal(user.localServer.reported('drop').length, 1);
    await user.quit();
    await user.awaitProcessesEnded();
    assert.deepEqual(desktop.opened().sort(), [barrierUrl, 'https://elsewhere.test/dropped']);
  });
