// A page that navigates to other schemes, blocks the application or overloads it.

import assert from 'node:assert/strict';
import { existsSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop, barrierLink, barrierUrl } from '../support/desktop/default_apps.mjs';
import { desktopTests, isLongForm } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';
import { floodTimeout, waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

test('navigations to blocked schemes by script, link and frame do nothing', async (user) => {
  const desktop = new Desktop(user);
  // The scheme javascript is absent, because WebKit runs such a URL in the page without asking the
  // application.
  const urls = ['file:///etc/passwd', 'data:text/html,gone', 'ftp://elsewhere.test/x',
    'webkit://gpu', 'resource:///org/gtk', 'x-unknown:y'];
  const layout = await user.startWithPage(`
    ${barrierLink}
    <script>
      const byScript = (url) => { location = url; };
      const byLink = (href) => {
        const link = Object.assign(document.createElement('a'), { href });
        document.body.append(link);
        link.click();
      };
      const byFrame = (src) =>
        document.body.append(Object.assign(document.createElement('iframe'), { src }));
      // WebKit itself creates no frame for some URLs, for example file:.
      const changedFrames = () => [...document.querySelectorAll('iframe')]
        .filter(({ contentWindow, contentDocument }) =>
          contentWindow && contentDocument?.URL !== 'about:blank')
        .map(({ src }) => src);
      const urls = [...${JSON.stringify(urls)}, URL.createObjectURL(new Blob(['gone']))];
      const steps = [byScript, byLink, byFrame]
        .flatMap((navigate) => urls.map((url) => () => navigate(url)));
      const next = () => {
        const step = steps.shift();
        // A frame would need some time to change.
        if (!step) return setTimeout(() => report('done', changedFrames()), 1000);
        try { step(); } catch {}
        setTimeout(next, 50);
      };
      addEventListener('load', () => setTimeout(next, 200));
    </script>`);
  assert.deepEqual(await user.localServer.awaitReport('done'), [], 'the frames stay empty');
  // Links are opened in order, so all URLs before the one of the barrier link have been handled.
  await desktop.clickBarrierLink(layout);
  await desktop.quitAndAssertOpened(barrierUrl);
});

/// Returns a script that runs an action `count` times, with the variable `number` from 0 on.
const repeat = (count, action) =>
  `for (let number = 0; number < ${count}; number += 1) { ${action} }`;

/// Starts the application with a page that runs a script, after a click or, without `click`, some
/// time after its load, so that it is painted first. The page then reports "done".
async function runScript(user, screen, script, { click = true, routes } = {}) {
  const layout = await user.startWithPage(`<script>
      const run = () => { ${script}; report('done'); };
      if (${!click}) addEventListener('load', () => setTimeout(run, 300));
    </script>${button('run', 'run()')}`, routes);
  if (click) await screen.clickElement(layout, 'run');
}

/// Returns a script that calls alert or confirm in an endless loop. A call that returns at once has
/// shown no panel, because the application has ended. The loop then ends too, because WebKit would
/// let a busy web process run for ten more seconds.
const endlessPanels = (call) => repeat(Infinity, `const start = performance.now();
  ${call}('panel ' + number);
  if (performance.now() - start < 5) break`);

/// The ways to quit while a call in an endless loop shows its panels.
const quitDuringCall = {
  alert: (user, screen) => screen.pressKeys('ctrl+q'),
  confirm: ({ run }) => kill(run.pid, 'SIGTERM'),
};

for (const [call, quit] of Object.entries(quitDuringCall)) {
  test(`${call} in an endless loop shows one panel at a time and does not block quitting`,
    async (user, screen) => {
      await runScript(user, screen, endlessPanels(call));
      for (let number = 0; number < 2; number += 1) {
        await screen.awaitPanel(`panel ${number}`);
        await screen.pressKeys('Return');
        await screen.awaitPanelClosed(`panel ${number}`);
      }
      await screen.awaitPanel('panel 2');
      await quit(user, screen);
      await user.awaitCleanExit();
      assert.equal(screen.maxWindowCount, 2);
      assert.equal(user.localServer.events('stopped').length, 1, 'the server was not killed');
    });
}

const openCount = isLongForm ? 10_000 : 100;
const clickExportLink = `const link = document.createElement('a');
  link.href = '/api/export?' + number;
  document.body.append(link);
  link.click();`;

/// Runs an action `openCount` times, waits until as many files or URLs have been opened, and
/// quits. Fails unless that many different ones have been opened.
async function runAndAwaitOpened(user, screen, action, options) {
  // A shell script overwrites the default application, `opener`, that Desktop has created in Node,
  // because thousands of Node processes would load the machine.
  const list = join(user.folder, 'opened');
  writeFileSync(join(user.folder, 'opener'), `#!/bin/sh\necho "$1" >> "${list}"\n`);
  const opened = () =>
    existsSync(list) ? readFileSync(list, 'utf8').split('\n').slice(0, -1) : [];
  await runScript(user, screen, repeat(openCount, action), options);
  await waitFor(`${openCount} files or URLs opened`, () => opened().length >= openCount,
    { timeout: floodTimeout });
  user.localServer.assertPageLoadedOnce();
  await user.terminate();
  assert.equal(screen.maxWindowCount, 1, 'no second window was opened');
  assert.equal(new Set(opened()).size, openCount, 'different files or URLs were opened');
}

for (const click of [true, false]) {
  test(`${openCount} calls of window.open ${click ? 'after' : 'without'} a click ` +
    'start the default application that often',
    async (user, screen) => {
      // Creates the default applications.
      new Desktop(user);
      // Unlike a navigation or link, window.open() also opens an sms: URL.
      await runAndAwaitOpened(user, screen,
        "open((number % 2 === 0 ? 'https://elsewhere.test/' : 'sms:') + number)", { click });
    });
}

test(`clicks on ${openCount} links to /api/export save as many files`, async (user, screen) => {
  const desktop = new Desktop(user);
  const csv = csvRoute();
  await runAndAwaitOpened(user, screen, clickExportLink, { routes: { '/api/export': csv } });
  assert.equal(desktop.downloadedFiles().length, openCount);
  for (const name of desktop.downloadedFiles()) {
    assert.equal(readFileSync(desktop.downloadPath(name), 'utf8'), csv.body);
  }
});

for (const click of [true, false]) {
  // Without a click the script makes enough calls to be still running when the application quits.
  const count = click && !isLongForm ? 1000 : 10_000;
  test(`${count} calls of window.open('/api/export') ${click ? 'after' : 'without'} a click ` +
    'do not block quitting', async (user, screen) => {
    await runScript(user, screen, repeat(count, "open('/api/export?' + number)"),
      { click, routes: { '/api/export': { status: 404 } } });
    if (click) {
      await waitFor('the end of the script', () => user.localServer.reported('done').length > 0,
        { timeout: floodTimeout });
    }
    await waitFor('a request for /api/export', () =>
      user.localServer.requests.some(({ url }) => url.startsWith('/api/export')));
    await user.quit();
    assert.equal(screen.maxWindowCount, 1, 'no second window was opened');
    assert.deepEqual(readdirSync(user.home), []);
  });
}

test('a title of 50,000,000 characters and a long fragment do not change the window, and an ' +
  'alert with 7,000,000 characters is shown and can be closed', async (user, screen) => {
  await runScript(user, screen, `document.title = 'title'.repeat(10_000_000);
    history.pushState(0, '', '#' + 'x'.repeat(1_000_000));
    alert('Longer '.repeat(1_000_000))`);
  // The title of a panel has the first 80 characters of its text.
  await screen.awaitPanel('Longer '.repeat(12).slice(0, 80));
  assert.equal((await screen.windows('Orvel OS')).length, 1);
  await screen.pressKeys('Return');
  await user.localServer.awaitReport('done');
});
