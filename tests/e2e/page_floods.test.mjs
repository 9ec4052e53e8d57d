// A page that floods the application with requests, windows or text. The application stays
// responsive and quits without delay.

import assert from 'node:assert/strict';
import { readdirSync } from 'node:fs';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const count = 10_000;
const routes = { '/api/export': { status: 404 } };
const flood = (action) => `for (let i = 0; i < ${count}; ++i) { ${action} }`;
const openWindows = flood("window.open('/api/export?' + i)");

/// Quits, and fails if the home folder is not empty.
async function quitLeavingNothing(user) {
  await user.quit();
  assert.deepEqual(readdirSync(user.home), []);
}

/// Shows a page with a button that runs a script, and clicks it.
async function runByClick(user, screen, script) {
  const page = `<script>const run = () => { ${script}; report('done'); };</script>`;
  const layout = await user.startWithPage(page + button('flood', 'run()'), { routes });
  await screen.clickElement(layout, 'flood');
}

async function awaitDone(user) {
  await waitFor('the end of the script', () => user.root.reported('done').length > 0,
    { timeout: 150_000, every: 200 });
}

/// Returns the URLs of the requests for the export.
function exportRequests(user) {
  return user.root.events('request').map(({ url }) => url)
    .filter((url) => url.startsWith('/api/export'));
}
const awaitRequest = (user) =>
  waitFor('a request', () => exportRequests(user).length > 0);

test(`${count} clicks on links to the export make ${count} requests`, { timeout: 200_000 },
  async (user, screen) => {
    await runByClick(user, screen, flood(`
      const link = document.createElement('a'); link.href = '/api/export?' + i; link.click();`));
    await awaitDone(user);
    await waitFor('all requests', () => exportRequests(user).length >= count,
      { timeout: 150_000, every: 500 });
    assert.equal(new Set(exportRequests(user)).size, count);
    await quitLeavingNothing(user);
    assert.equal(exportRequests(user).length, count);
  });

test(`${count} calls of window.open after a click open no window and do not delay quitting`,
  { timeout: 200_000 }, async (user, screen) => {
    const maxWindows = screen.watchWindowCount();
    await runByClick(user, screen, openWindows);
    await awaitDone(user);
    await awaitRequest(user);
    await quitLeavingNothing(user);
    assert.equal(await maxWindows(), 1);
  });

test(`${count} calls of window.open without a click open no window and do not prevent quitting`,
  { timeout: 200_000 }, async (user, screen) => {
    const maxWindows = screen.watchWindowCount();
    await user.startWithPage(`<script>
      addEventListener('load', () => setTimeout(() => { ${openWindows} }, 300));
    </script>`, { routes });
    // The script still runs when the application quits.
    await awaitRequest(user);
    await user.quit();
    assert.equal(await maxWindows(), 1);
  });

test('an alert with 7,000,000 characters is shown', async (user, screen) => {
  await runByClick(user, screen, "alert('Longer '.repeat(1_000_000))");
  await screen.awaitPanel('Longer '.repeat(12).slice(0, 80));
  await screen.pressKeys('Return');
  await awaitDone(user);
  await quitLeavingNothing(user);
});

test('a long page title and a long fragment do not change the window', async (user, screen) => {
  await runByClick(user, screen, `document.title = 'title'.repeat(10_000_000);
    history.pushState(0, '', '#' + 'x'.repeat(1_000_000))`);
  await awaitDone(user);
  assert.equal((await screen.windows('Orvel OS')).length, 1);
  await quitLeavingNothing(user);
});
