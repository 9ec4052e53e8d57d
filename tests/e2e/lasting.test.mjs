// What outlives the application, and what the application outlives.

import assert from 'node:assert/strict';
import { existsSync, readdirSync } from 'node:fs';
import { join } from 'node:path';

import { pageColour } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

test('cookies, storage and the window frame survive a restart', {}, async (user, screen) => {
  await user.startAndShowPage();
  const [filling] = user.root.reported('painted');
  assert.equal(filling.runs, 1);
  assert.equal(filling.width, screen.screenshot().width, 'a first window fills the screen');

  // A double click on the header bar ends the filling; then a size of its own.
  const window = await screen.awaitWindow();
  await screen.click(700, 20, { repeat: 2 });
  await waitFor('a window that is not maximised', async () =>
    !/MAXIMIZED/.test(await screen.property(window, '_NET_WM_STATE')));
  await screen.tool('xdotool', 'windowsize', window, '1100', '700');
  const resized = await waitFor('the page in its new size', () =>
    user.root.reported('size').findLast(({ width }) => width > 1000 && width <= 1100));
  await user.quit();

  await user.startAndShowPage();
  const again = user.root.reported('painted').at(-1);
  assert.equal(again.runs, 2, 'local storage');
  assert.deepEqual([again.width, again.height], [resized.width, resized.height]);
  const { headers } = user.root.requests('/').at(-1);
  assert.match(headers.cookie, /persistent=yes/);
  assert.match(headers.cookie, new RegExp(`orvelapp=${KEY}`));
  await user.quit();

  // All of it lies where the desktop keeps such things, nothing in plain sight.
  const { XDG_CONFIG_HOME, XDG_DATA_HOME } = user.environment;
  assert.ok(existsSync(join(XDG_CONFIG_HOME, 'nl.orvel.os/defaults.ini')));
  assert.ok(existsSync(join(XDG_DATA_HOME, 'nl.orvel.os')));
  assert.deepEqual(readdirSync(user.home), []);
});

test('the page comes back when its process is killed', {}, async (user, screen) => {
  await user.startAndShowPage();
  for (const time of [1, 2]) {
    const before = user.processesNamed('WebKitWebProcess').map(({ pid }) => pid);
    assert.equal(before.length, 1);
    kill(before[0]);
    await user.root.awaitPainted(time + 1);
    await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  }
  assert.equal(user.root.events('started').length, 1, 'the server is left alone');
  assert.equal(user.root.requests('/api/wie').length, 1);

  // The keys reach the new page.
  await screen.type('aap');
  await waitFor('the letters in the field', () => user.root.reported('field').at(-1)?.value === 'aap');
  await user.quit();
});

test('the error page comes back when its process is killed', { behaviour: null },
  async (user, screen) => {
    user.start();
    const isError = (page) => page.startsWith('Orvel OS\nDeze Mac');
    const text = await screen.awaitPageText(isError);
    kill(user.processesNamed('WebKitWebProcess')[0].pid);
    assert.equal(await screen.awaitPageText(isError), text);
    await user.quit();
  });
