// An address that is not this machine's own server: 127.0.0.2 counts as online.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { OnlineServer } from '../support/desktop/online_server.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ usesPort: false });

/// Whether the stored cookies hold a text: SQLite keeps it as it stands, in the
/// table or still in its journal.
function cookiesHold(user, text) {
  return user.dataFiles().some((path) => readFileSync(path, 'latin1').includes(text));
}

test('a preset online address is shown, with a cookie for https only', {},
  async (user, screen) => {
    const online = await OnlineServer.open();
    try {
      user.setPlistValues({ ORVELOSURL: online.address });
      user.start();
      await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));

      assert.equal(online.requestsTo('/api/wie')[0].headers['x-orvel-app'], KEY);
      const [page] = online.requestsTo('/');
      assert.equal(page.headers['x-orvel-app'], undefined);
      assert.ok(page.headers['user-agent'].endsWith(` ORVELOS/${KEY}`));
      // Stored, yet not sent over plain http.
      assert.doesNotMatch(page.headers.cookie ?? '', /orvelapp/);
      await waitFor('the cookie in the store', () => cookiesHold(user, `orvelapp${KEY}`));

      const shown = online.requestsTo('/').length;
      await screen.pressKeys('ctrl+r');
      await waitFor('the page loaded again', () => online.requestsTo('/').length > shown);
      assert.equal(online.requestsTo('/api/wie').length, 1, 'no second polling');

      assert.deepEqual(user.root.record(), [], 'no server of this machine is started');
      assert.ok(!existsSync(user.root.log));
      const asked = Date.now();
      const { time } = await user.quit();
      assert.ok(time - asked < 2000, `quitting took ${time - asked} ms`);
    } finally {
      online.close();
    }
  });

test("the user's choice beats the preset of the build",
  { plist: { ORVELOSURL: 'http://127.0.0.3:9/' } }, async (user, screen) => {
    const online = await OnlineServer.open();
    try {
      const folder = join(user.environment.XDG_CONFIG_HOME, 'nl.orvel.os');
      mkdirSync(folder);
      writeFileSync(join(folder, 'defaults.ini'), `[Defaults]\nosURL=${online.address}\n`);
      user.start();
      await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
      assert.deepEqual(user.root.record(), []);
      await user.quit();
    } finally {
      online.close();
    }
  });
