// Updates where a server of this machine plays a part.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { makeRelease, releaseRoutes } from '../support/desktop/release.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { instances, withUpdateServer, quitRestarted, updatedNotice } from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

test('on this machine the user is told how it is done, and nothing is asked for', {},
  async (user, screen) => {
    const notice = 'Op deze Mac werk je de app bij met: ./scripts/build-app.sh';
    await user.startAndShowPage();
    await screen.chooseApplicationItem(1);
    await screen.awaitPanel(notice);
    await saveScreenshot('update-local');
    await screen.pressKeys('Return');
    await screen.awaitPanelClosed(notice);
    await screen.awaitWindowCount(1);
    await user.quit();
    const asked = user.root.events('request').filter(({ url }) => url.startsWith('/download/'));
    assert.deepEqual(asked, []);
  });

/// Looks at the instances from now on. Gives a function that ends that and tells
/// which there were, and how many at most at once.
function watchInstances(user) {
  const seen = new Set();
  let most = 0;
  const look = () => {
    const now = instances(user).map(({ pid }) => pid);
    now.forEach((pid) => seen.add(pid));
    most = Math.max(most, now.length);
  };
  look();
  const timer = setInterval(look, 10);
  return () => {
    look();
    clearInterval(timer);
    return { seen: [...seen], most };
  };
}

test('the new one waits for the old one, which waits for a deaf server',
  { behaviour: { ignoresSignals: true }, timeout: 120_000 }, async (user, screen) => {
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, run) => {
      const gate = join(user.folder, 'ga door');
      Object.assign(routes, releaseRoutes('1.1', { body: makeRelease(user), gate }));
      await waitFor('the download', () => server.requestsTo('/download/orvel-os.zip').length === 1);
      // Meanwhile the user goes to the server of this machine.
      await screen.answerAddressDialog('http://127.0.0.1:4767/');
      await user.root.awaitPainted();
      writeFileSync(gate, '');
      await screen.awaitPanel(updatedNotice);

      const instancesSeen = watchInstances(user);
      const asked = Date.now();
      await screen.pressKeys('Return');
      const { code, time } = await user.awaitExit(run);
      assert.equal(code, 0);
      assert.ok(time - asked >= 2900, `the old one ended after ${time - asked} ms`);
      await user.root.awaitPainted(2);
      const { seen, most } = instancesSeen();
      assert.equal(most, 1);
      assert.equal(seen.length, 2);
      assert.equal(seen[0], run.pid);
      const started = user.root.events('started');
      assert.equal(started.length, 2);
      assert.ok(started[1].time > time, 'the second server is the new one\'s');
      await screen.awaitWindow();
      await quitRestarted(user, screen);
      await user.root.awaitServerExit(2);
    });
  });
