// A page that attacks gets no more than any other, and can neither hold the
// application up nor bring it down.

import assert from 'node:assert/strict';
import { readdirSync } from 'node:fs';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const many = 10_000;
const refused = { '/api/export': { status: 404 } };
const button = (action) => `<button id="aanval" onclick="${action}">aanval</button>`;

/// Quits in no more time than a user grants, and finds the home folder empty.
async function quitsAsEver(user) {
  const asked = Date.now();
  const { code, signal, time } = await user.quit();
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
  assert.ok(time - asked < 4000, `quitting took ${time - asked} ms`);
  assert.deepEqual(readdirSync(user.home), []);
}

/// Starts the application on a page with a button and presses that; waits until
/// what it does is done.
async function attack(user, screen, action, { ends = true, routes } = {}) {
  const layout = await user.startWithPage(button(`${action}; report('klaar')`), { routes });
  await screen.clickElement(layout, 'aanval');
  if (!ends) return;
  await waitFor('the end of the attack', () => user.root.reported('klaar').length > 0,
    { timeout: 150_000, every: 200 });
}

/// The exports that the server was asked for.
function asked(user) {
  return user.root.events('request').map(({ url }) => url)
    .filter((url) => url.startsWith('/api/export'));
}

test(`${many} links to the export are ${many} downloads`, { timeout: 200_000 },
  async (user, screen) => {
    await attack(user, screen, `for (let i = 0; i < ${many}; ++i) {
      const link = document.createElement('a'); link.href = '/api/export?' + i; link.click();
    }`, { routes: refused });
    await waitFor('all requests', () => asked(user).length >= many,
      { timeout: 150_000, every: 500 });
    assert.equal(new Set(asked(user)).size, many);
    await quitsAsEver(user);
    assert.equal(asked(user).length, many);
  });

test(`${many} windows are none, and quitting does not wait for what they ask`,
  { timeout: 200_000 }, async (user, screen) => {
    const maxWindows = screen.watchWindowCount();
    await attack(user, screen,
      `for (let i = 0; i < ${many}; ++i) window.open('/api/export?' + i)`, { routes: refused });
    await waitFor('a request', () => asked(user).length > 0);
    await quitsAsEver(user);
    assert.equal(await maxWindows(), 1);
  });

test(`${many} windows without a click hold nothing up, and quitting does not wait for them`,
  { timeout: 200_000 }, async (user, screen) => {
    const maxWindows = screen.watchWindowCount();
    await user.startWithPage(`<script>
      addEventListener('load', () => setTimeout(() => {
        for (let i = 0; i < ${many}; ++i) window.open('/api/export?' + i);
      }, 300));
    </script>`, { routes: refused });
    // The page keeps asking while the application quits.
    await waitFor('a request', () => asked(user).length > 0);
    const { code, signal } = await user.quit();
    assert.deepEqual({ code, signal }, { code: 0, signal: null });
    assert.equal(await maxWindows(), 1);
  });

test('a message of any length is shown at once', {}, async (user, screen) => {
  await attack(user, screen, "alert('Langer '.repeat(1_000_000))", { ends: false });
  const clicked = Date.now();
  await screen.awaitPanel('Langer '.repeat(12).slice(0, 80));
  const shown = Date.now() - clicked;
  assert.ok(shown < 4000, `the panel took ${shown} ms`);
  await screen.pressKeys('Return');
  await waitFor('the end of the attack', () => user.root.reported('klaar').length > 0);
  await quitsAsEver(user);
});

test('titles and addresses of any length change nothing', {}, async (user, screen) => {
  await attack(user, screen, `document.title = 'titel'.repeat(10_000_000);
    history.pushState(0, '', '#' + 'x'.repeat(1_000_000))`);
  assert.equal((await screen.windows('Orvel OS')).length, 1);
  await quitsAsEver(user);
});
