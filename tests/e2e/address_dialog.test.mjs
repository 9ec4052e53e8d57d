// The choice of the server, by keyboard alone.

import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { OnlineServer } from '../support/desktop/online_server.mjs';
import { alive } from '../support/desktop/processes.mjs';
import { pageColour } from '../support/desktop/page.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn();

const title = 'Adres van het OS';
const refusal = 'Dat is geen geldig adres.';
const local = 'http://127.0.0.1:4767/';

/// The stored choice as the file has it; nothing when there is none.
function stored(user) {
  const path = join(user.environment.XDG_CONFIG_HOME, 'nl.orvel.os/defaults.ini');
  if (!existsSync(path)) return undefined;
  return /^osURL=(.*)$/m.exec(readFileSync(path, 'utf8'))?.[1];
}

trial('the dialog shows the address in force, all selected, ready to be replaced', {},
  async (user, screen) => {
    await user.startAndPaint();
    await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
    await screen.openAddressDialog();
    await keep('address-dialog');
    await screen.setClipboard('nog niets');
    await screen.keys('ctrl+c');
    await waitFor('the copied address', async () => (await screen.clipboard()) === local);
    await screen.keys('Escape');
    await screen.panelGone(title);
    await user.quit();
    assert.equal(stored(user), undefined);
  });

trial('what is no address is refused, and the dialog does not come back by itself', {},
  async (user, screen) => {
    await user.startAndPaint();
    const refused = ['', ' \t ', 'voorbeeld.test', 'ftp://voorbeeld.test', 'HTTPS://voorbeeld.test',
      '//voorbeeld.test/', 'javascript:alert(1)', '127.0.0.1:4767'];
    for (const text of refused) {
      await screen.answerAddressDialog(text);
      await screen.panel(refusal);
      if (text === '') await keep('address-refused');
      await screen.managing(2);
      await screen.keys('Return');
      await screen.panelGone(refusal);
      await screen.managing(1);
    }
    assert.equal(stored(user), undefined);
    assert.equal(user.root.requests('/').length, 1, 'the page is not opened again');
    await user.quit();
  });

trial('"Annuleren", Escape and closing store nothing and open nothing', {},
  async (user, screen) => {
    await user.startAndPaint();
    const online = await OnlineServer.open();
    try {
      for (const answer of ['Escape', 'alt+F4', 'Tab']) {
        if (answer === 'Tab') {
          await screen.openAddressDialog();
          await screen.keys('ctrl+a');
          await screen.type(online.address);
          // From the field the first stop is "Annuleren", at the left.
          await screen.keys('Tab', 'Return');
          await screen.panelGone(title);
        } else {
          await screen.answerAddressDialog(online.address, answer);
        }
      }
      await screen.managing(1);
      await user.quit();
      assert.equal(stored(user), undefined);
      assert.deepEqual(online.requests, []);
      assert.equal(user.root.requests('/').length, 1);
      assert.equal(user.root.requests('/api/wie').length, 1);
    } finally {
      online.close();
    }
  });

trial('going online stops a slow server without an exit page, and lasts; coming back starts it', {},
  async (user, screen) => {
    user.root.behave({ stopsAfter: 2000 });
    const online = await OnlineServer.open();
    try {
      await user.startAndPaint();
      const typed = online.address.slice(0, -1);
      await screen.answerAddressDialog(` \t ${typed}\t `);
      await online.painted();
      assert.equal(stored(user), typed, 'as typed, without the blanks');
      const { pid } = await user.root.started();
      await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
      assert.equal(user.root.events('signal')[0].signal, 'SIGTERM');
      assert.ok(alive(pid), 'the server takes its time');
      assert.equal(online.to('/api/wie')[0].headers['x-orvel-app'], KEY);

      await user.root.serverGone();
      assert.equal(user.root.events('stopped').length, 1, 'it came to its own end');
      // The page that is there now is still the one that was painted.
      await screen.type('nog steeds dezelfde bladzijde');
      await waitFor('the letters in the field', () =>
        online.told('veld').at(-1)?.value === 'nog steeds dezelfde bladzijde');
      assert.equal(online.told('getoond').length, 1);

      await user.quit();
      user.start();
      await online.painted(2);
      assert.equal(user.root.events('started').length, 1, 'the choice survives a restart');

      await screen.answerAddressDialog(local);
      await user.root.painted(2);
      assert.equal(stored(user), local);
      assert.equal(user.root.events('started').length, 2);
      await user.quit();
    } finally {
      online.close();
    }
  });

trial('another spelling of the local address keeps the server and opens the page again', {},
  async (user, screen) => {
    await user.startAndPaint();
    await screen.answerAddressDialog('http://localhost:4767');
    await user.root.painted(2);
    assert.equal(stored(user), 'http://localhost:4767');
    assert.equal(user.root.events('started').length, 1);
    assert.deepEqual(user.root.events('signal'), []);
    assert.equal(user.root.requests('/').at(-1).headers.host, 'localhost:4767');
    await user.quit();
  });

trial('an address that nobody answers is stored all the same', {}, async (user, screen) => {
  await user.startAndPaint();
  await screen.answerAddressDialog('http://127.0.0.2:9/');
  await user.root.serverGone();
  await waitFor('the stored address', () => stored(user) === 'http://127.0.0.2:9/');
  // The way back is the dialog, which shows what was stored.
  await screen.openAddressDialog();
  await screen.setClipboard('nog niets');
  await screen.keys('ctrl+c');
  await waitFor('the copied address', async () =>
    (await screen.clipboard()) === 'http://127.0.0.2:9/');
  await screen.keys('Escape');
  await screen.panelGone(title);
  await screen.answerAddressDialog(local);
  await user.root.painted(2);
  await user.quit();
});
