// The dialog that changes the address of the server, and the storage of the address.

import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { isRunning } from '../support/desktop/processes.mjs';
import { addressDialogTitle } from '../support/desktop/screen.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

const invalidAddressNotice = 'Dat is geen geldig adres.';
const localAddress = 'http://127.0.0.1:4767/';

/// Returns the address in the settings file, or undefined when none has been stored.
function storedAddress(user) {
  if (!existsSync(user.defaultsFile)) return undefined;
  return /^osURL=(.*)$/m.exec(readFileSync(user.defaultsFile, 'utf8'))?.[1];
}

test('the current address is selected, and a rejected or cancelled change has no effect',
  async (user, screen) => {
    await user.startAndShowPage();
    for (const text of ['', 'example.test']) {
      await screen.answerAddressDialog(text);
      await screen.awaitPanel(invalidAddressNotice);
      await screen.awaitWindowCount(2);
      await screen.closePanel(invalidAddressNotice);
    }

    const online = await user.openOnlineServer();
    for (const key of ['Escape', 'alt+F4']) {
      await screen.answerAddressDialog(online.address, key);
    }
    await screen.openAddressDialog();
    await screen.setClipboard('nothing copied yet');
    await screen.pressKeys('ctrl+c');
    await waitFor('the selected address', async () => (await screen.clipboard()) === localAddress);
    await screen.type(online.address);
    // Tab moves from the field to "Annuleren", so the Return of closePanel() cancels.
    await screen.pressKeys('Tab');
    await screen.closePanel(addressDialogTitle);
    await user.quit();
    assert.equal(storedAddress(user), undefined);
    assert.deepEqual(online.requests, []);
    user.localServer.assertPageLoadedOnce();
    assert.equal(user.localServer.requestsTo('/api/wie').length, 1, 'the server was probed once');
  });

test('an online address stops the local server and is stored; the local address starts it again',
  { behaviour: { ignoresSignals: true } }, async (user, screen) => {
    const online = await user.openOnlineServer();
    await user.startAndShowPage();
    const typed = online.address.replace(/\/$/, '');
    await screen.answerAddressDialog(` \t ${typed}\t `);
    await online.awaitPainted();
    assert.equal(storedAddress(user), typed, 'stored as typed, without the surrounding blanks');
    const { pid } = await user.localServer.awaitStarted();
    await screen.awaitPageOnScreen();
    await waitFor('SIGTERM at the local server', () =>
      user.localServer.events('signal')[0]?.signal === 'SIGTERM');
    assert.ok(isRunning(pid), 'the online page does not wait for the end of the local server');
    assert.equal(online.requestsTo('/api/wie')[0].headers['x-orvel-app'], APP_KEY);

    // The error page for the end of the local server does not replace the online page.
    await user.killProcess(pid);
    await screen.type('still the same page');
    await online.awaitFieldText('still the same page');
    assert.equal(online.paintCount(), 1);

    await user.quit();
    user.start();
    await online.awaitPainted(2);
    assert.equal(user.localServer.events('started').length, 1,
      'the second run starts no local server');

    // The local server handles signals from its next start on.
    user.localServer.setBehaviour({});
    await screen.answerAddressDialog(localAddress);
    await user.localServer.awaitPainted(2);
    assert.equal(storedAddress(user), localAddress);
    assert.equal(user.localServer.events('started').length, 2);
  });
