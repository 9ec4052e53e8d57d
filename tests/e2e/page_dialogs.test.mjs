import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { addressDialogTitle } from '../support/desktop/screen.mjs';

const { test } = desktopTests({ accessibility: true });

const question = 'Delete this file?';
const confirmButton = button('ask', `report('answer', confirm('${question}'))`);
const message = 'Saved.';
const alertButton = button('alert', `alert('${message}'); report('closed')`);

/// The value that confirm() must return, and the action that closes its dialog.
const confirmAnswers = {
  'Return confirms': [true, (screen) => screen.pressKeys('Return')],
  'Escape cancels': [false, (screen) => screen.pressKeys('Escape')],
  'closing the window cancels': [false, (screen) => screen.pressKeys('alt+F4')],
  '"Annuleren" by keyboard cancels':
    [false, (screen) => screen.pressKeys('shift+Tab', 'Return')],
  '"Annuleren" by mouse cancels': [false, (screen, panel) =>
    screen.accessibility.click(panel, { role: /button/, name: 'Annuleren' })],
};

for (const [name, [answer, act]] of Object.entries(confirmAnswers)) {
  test(`confirm: ${name}`, async (user, screen) => {
    const layout = await user.startWithPage(confirmButton);
    await screen.clickElement(layout, 'ask');
    const panel = await screen.awaitPanel(question);
    assert.equal(await screen.windowCount(), 2);
    assert.deepEqual(user.localServer.reported('answer'), [], 'the script waits');
    await act(screen, panel);
    await screen.awaitPanelClosed(question);
    await user.localServer.awaitReport('answer');
    await user.quit();
    assert.deepEqual(user.localServer.reported('answer'), [answer]);
  });
}

test('an open alert blocks the script and keys and clicks on the window', async (user, screen) => {
  const layout = await user.startWithPage(alertButton + button('other', "report('other')"));
  await screen.clickElement(layout, 'alert');
  await screen.awaitPanel(message);
  await screen.pressKeys('ctrl+r');
  await screen.clickElement(layout, 'other');
  assert.deepEqual(user.localServer.reported('closed'), []);
  await screen.awaitPanel(message);
  await screen.pressKeys('Return');
  await user.localServer.awaitReport('closed');
  await screen.clickElement(layout, 'other');
  await user.localServer.awaitReport('other');
  await user.quit();
  assert.equal(user.localServer.reported('other').length, 1);
  user.localServer.assertPageLoadedOnce();
});

test('probing continues and the page is shown while the address dialog is open',
  { behaviour: { routes: { '/api/wie': { status: 503 } } } }, async (user, screen) => {
    user.start();
    const panel = await screen.openAddressDialog();
    user.localServer.setRoutes();
    await user.localServer.awaitPainted();
    assert.equal(await screen.awaitPanel(addressDialogTitle), panel);
    await screen.closePanel(addressDialogTitle, 'Escape');
  });
