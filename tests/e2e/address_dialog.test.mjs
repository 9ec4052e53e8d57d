// The address of the server: its preset in Info.plist, the dialog that changes it, and its storage.

import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { isRunning } from '../support/desktop/processes.mjs';
import { addressDialogTitle } from '../support/desktop/screen.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests({ accessibility: true });

const invalidAddressNotice = 'Dat is geen geldig adres.';
const localAddress = 'http://127.0.0.1:4767/';

/// Returns the stored address, or undefined.
function storedAddress(user) {
  if (!existsSync(user.defaultsFile)) return undefined;
  return /^osURL=(.*)$/m.exec(readFileSync(user.defaultsFile, 'utf8'))?.[1];
}

/// Opens the dialog, fails unless it shows this address all selected, and cancels. The clipboard
/// shows what is selected.
async function assertDialogSelects(screen, address) {
  await screen.openAddressDialog();
  await saveScreenshot('address-dialog');
  await screen.setClipboard('nothing copied yet');
  await screen.pressKeys('ctrl+c');
  await waitFor('the copied address', async () => (await screen.clipboard()) === address);
  await screen.closePanel(addressDialogTitle, 'Escape');
}

test('the dialog shows and selects the current address', async (user, screen) => {
  await user.startAndShowPage();
  await screen.awaitPageOnScreen();
  await assertDialogSelects(screen, localAddress);
  await user.quit();
  assert.equal(storedAddress(user), undefined);
});

test('an invalid address is rejected with a notice and not stored', async (user, screen) => {
  await user.startAndShowPage();
  const invalid = ['', ' \t ', 'example.test', 'ftp://example.test', 'HTTPS://example.test',
    '//example.test/', 'javascript:alert(1)', '127.0.0.1:4767'];
  for (const text of invalid) {
    await screen.answerAddressDialog(text);
    await screen.awaitPanel(invalidAddressNotice);
    if (text === '') await saveScreenshot('address-rejected');
    await screen.awaitWindowCount(2);
    await screen.closePanel(invalidAddressNotice);
  }
  assert.equal(storedAddress(user), undefined);
  assert.equal(user.root.requestsTo('/').length, 1, 'the page is not loaded again');
});

test('"Annuleren", Escape and closing the dialog change nothing', async (user, screen) => {
  await user.startAndShowPage();
  const online = await user.openOnlineServer();
  for (const key of ['Escape', 'alt+F4']) {
    await screen.answerAddressDialog(online.address, key);
  }
  await screen.openAddressDialog();
  await screen.pressKeys('ctrl+a');
  await screen.type(online.address);
  // Tab moves from the field to "Annuleren".
  await screen.pressKeys('Tab');
  await screen.closePanel(addressDialogTitle);
  await user.quit();
  assert.equal(storedAddress(user), undefined);
  assert.deepEqual(online.requests, []);
  assert.equal(user.root.requestsTo('/').length, 1);
  assert.equal(user.root.requestsTo('/api/wie').length, 1);
});

test('an online address stops the local server and is stored; the local address starts it again',
  { behaviour: { stopDelay: 2000 } }, async (user, screen) => {
    const online = await user.openOnlineServer();
    await user.startAndShowPage();
    const typed = online.address.slice(0, -1);
    await screen.answerAddressDialog(` \t ${typed}\t `);
    await online.awaitPainted();
    assert.equal(storedAddress(user), typed, 'as typed, without the surrounding blanks');
    const { pid } = await user.root.awaitStarted();
    await screen.awaitPageOnScreen();
    assert.equal(user.root.events('signal')[0].signal, 'SIGTERM');
    assert.ok(isRunning(pid), 'the online page is shown before the local server has stopped');
    assert.equal(online.requestsTo('/api/wie')[0].headers['x-orvel-app'], APP_KEY);

    await user.root.awaitServerExit();
    assert.equal(user.root.events('stopped').length, 1, 'the server was not killed');
    // The end of the server does not replace the page.
    await screen.type('still the same page');
    await online.awaitFieldText('still the same page');
    assert.equal(online.paintCount(), 1);

    await user.quit();
    user.start();
    await online.awaitPainted(2);
    assert.equal(user.root.events('started').length, 1, 'the choice survives a restart');

    await screen.answerAddressDialog(localAddress);
    await user.root.awaitPainted(2);
    assert.equal(storedAddress(user), localAddress);
    assert.equal(user.root.events('started').length, 2);
  });

test('another spelling of the local address keeps the server and loads the page again',
  async (user, screen) => {
    await user.startAndShowPage();
    await screen.answerAddressDialog('http://localhost:4767');
    await user.root.awaitPainted(2);
    assert.equal(storedAddress(user), 'http://localhost:4767');
    assert.equal(user.root.events('started').length, 1);
    assert.deepEqual(user.root.events('signal'), []);
    assert.equal(user.root.requestsTo('/').at(-1).headers.host, 'localhost:4767');
  });

test('an unreachable address is stored, and the dialog can change it back',
  async (user, screen) => {
    // Nothing listens on the port of the discard protocol.
    const address = 'http://127.0.0.2:9/';
    await user.startAndShowPage();
    await screen.answerAddressDialog(address);
    await user.root.awaitServerExit();
    await waitFor('the stored address', () => storedAddress(user) === address);
    await assertDialogSelects(screen, address);
    await screen.answerAddressDialog(localAddress);
    await user.root.awaitPainted(2);
  });

test('a preset online address is opened, and its key cookie is not sent over http',
  async (user, screen) => {
    const online = await user.openOnlineServer();
    user.setPlistValues({ ORVELOSURL: online.address });
    user.start();
    await screen.awaitPageOnScreen();

    assert.equal(online.requestsTo('/api/wie')[0].headers['x-orvel-app'], APP_KEY);
    const [{ headers }] = online.requestsTo('/');
    assert.equal(headers['x-orvel-app'], undefined);
    assert.ok(headers['user-agent'].endsWith(` ORVELOS/${APP_KEY}`));
    // The cookie is stored, but not sent over http. SQLite stores its text as it stands, in the
    // database or in its journal.
    assert.doesNotMatch(headers.cookie ?? '', /orvelapp/);
    await waitFor('the stored cookie', () =>
      user.dataFiles().some((path) => readFileSync(path, 'latin1').includes(`orvelapp${APP_KEY}`)));

    const before = online.requestsTo('/').length;
    await screen.pressKeys('ctrl+r');
    await waitFor('a reload', () => online.requestsTo('/').length > before);
    assert.equal(online.requestsTo('/api/wie').length, 1, 'a reload does not probe');

    assert.deepEqual(user.root.record(), [], 'no local server is started');
    assert.ok(!existsSync(user.root.log));
  });

test('a stored address overrides the preset', { plist: { ORVELOSURL: 'http://127.0.0.3:9/' } },
  async (user, screen) => {
    const online = await user.openOnlineServer();
    user.storeAddress(online.address);
    user.start();
    await screen.awaitPageOnScreen();
    assert.deepEqual(user.root.record(), []);
  });
