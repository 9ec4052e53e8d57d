// The choice of the server, by keyboard alone.

import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { OnlineServer } from '../support/desktop/online_server.mjs';
import { isRunning } from '../support/desktop/processes.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const title = 'Adres van het OS';
const refusal = 'Dat is geen geldig adres.';
const local = 'http://127.0.0.1:4767/';

/// The stored choice as the file has it; nothing when there is none.
function stored(user) {
  const path = join(user.environment.XDG_CONFIG_HOME, 'nl.orvel.os/defaults.ini');
  if (!existsSync(path)) return undefined;
  return /^osURL=(.*)$/m.exec(readFileSync(path, 'utf8'))?.[1];
}

test('the dialog shows the address in force, all selected, ready to be replaced', {},
  async (user, screen) => {
    await user.startAndShowPage();
    await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
    await screen.openAddressDialog();
    await saveScreenshot('address-dialog');
    await screen.setClipboard('nog niets');
    await screen.pressKeys('ctrl+c');
    await waitFor('the copied address', async () => (await screen.clipboard()) === local);
    await screen.pressKeys('Escape');
    await screen.awaitPanelClosed(title);
    await user.quit();
    assert.equal(stored(user), undefined);
  });

test('what is no address is refused, and the dialog does not come back by itself', {},
  async (user, screen) => {
    await user.startAndShowPage();
    const refused = ['', ' \t ', 'voorbeeld.test', 'ftp://voorbeeld.test', 'HTTPS://voorbeeld.test',
      '//voorbeeld.test/', 'javascript:alert(1)', '127.0.0.1:4767'];
    for (const text of refused) {
      await screen.answerAddressDialog(text);
      await screen.awaitPanel(refusal);
      if (text === '') await saveScreenshot('address-refused');
      await screen.awaitWindowCount(2);
      await screen.pressKeys('Return');
      await screen.awaitPanelClosed(refusal);
      await screen.awaitWindowCount(1);
    }
    assert.equal(stored(user), undefined);
    assert.equal(user.root.requests('/').length, 1, 'the page is not opened again');
    await user.quit();
  });

test('"Annuleren", Escape and closing store nothing and open nothing', {},
  async (user, screen) => {
    await user.startAndShowPage();
    const online = await OnlineServer.open();
    try {
      for (const answer of ['Escape', 'alt+F4', 'Tab']) {
        if (answer === 'Tab') {
          await screen.openAddressDialog();
          await screen.pressKeys('ctrl+a');
          await screen.type(online.address);
          // From the field the first stop is "Annuleren", at the left.
          await screen.pressKeys('Tab', 'Return');
          await screen.awaitPanelClosed(title);
        } else {
          await screen.answerAddressDialog(online.address, answer);
        }
      }
      await screen.awaitWindowCount(1);
      await user.quit();
      assert.equal(stored(user), undefined);
      assert.deepEqual(online.requests, []);
      assert.equal(user.root.requests('/').length, 1);
      assert.equal(user.root.requests('/api/wie').length, 1);
    } finally {
      online.close();
    }
  });

test('going online stops a slow server without an exit page, and lasts; coming back starts it', {},
  async (user, screen) => {
    user.root.setBehaviour({ stopDelay: 2000 });
    const online = await OnlineServer.open();
    try {
      await user.startAndShowPage();
      const typed = online.address.slice(0, -1);
      await screen.answerAddressDialog(` \t ${typed}\t `);
      await online.awaitPainted();
      assert.equal(stored(user), typed, 'as typed, without the blanks');
      const { pid } = await user.root.awaitStarted();
      await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
      assert.equal(user.root.events('signal')[0].signal, 'SIGTERM');
      assert.ok(isRunning(pid), 'the server takes its time');
      assert.equal(online.requestsTo('/api/wie')[0].headers['x-orvel-app'], KEY);

      await user.root.awaitServerExit();
      assert.equal(user.root.events('stopped').length, 1, 'it came to its own end');
      // The page that is there now is still the one that was painted.
      await screen.type('nog steeds dezelfde bladzijde');
      await waitFor('the letters in the field', () =>
        online.reported('field').at(-1)?.value === 'nog steeds dezelfde bladzijde');
      assert.equal(online.reported('painted').length, 1);

      await user.quit();
      user.start();
      await online.awaitPainted(2);
      assert.equal(user.root.events('started').length, 1, 'the choice survives a restart');

      await screen.answerAddressDialog(local);
      await user.root.awaitPainted(2);
      assert.equal(stored(user), local);
      assert.equal(user.root.events('started').length, 2);
      await user.quit();
    } finally {
      online.close();
    }
  });

test('another spelling of the local address keeps the server and opens the page again', {},
  async (user, screen) => {
    await user.startAndShowPage();
    await screen.answerAddressDialog('http://localhost:4767');
    await user.root.awaitPainted(2);
    assert.equal(stored(user), 'http://localhost:4767');
    assert.equal(user.root.events('started').length, 1);
    assert.deepEqual(user.root.events('signal'), []);
    assert.equal(user.root.requests('/').at(-1).headers.host, 'localhost:4767');
    await user.quit();
  });

test('an address that nobody answers is stored all the same', {}, async (user, screen) => {
  await user.startAndShowPage();
  await screen.answerAddressDialog('http://127.0.0.2:9/');
  await user.root.awaitServerExit();
  await waitFor('the stored address', () => stored(user) === 'http://127.0.0.2:9/');
  // The way back is the dialog, which shows what was stored.
  await screen.openAddressDialog();
  await screen.setClipboard('nog niets');
  await screen.pressKeys('ctrl+c');
  await waitFor('the copied address', async () =>
    (await screen.clipboard()) === 'http://127.0.0.2:9/');
  await screen.pressKeys('Escape');
  await screen.awaitPanelClosed(title);
  await screen.answerAddressDialog(local);
  await user.root.awaitPainted(2);
  await user.quit();
});
