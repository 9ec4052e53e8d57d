// Dialogs and windows of WebKit and GTK.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button, link, pageColour } from '../support/desktop/page.mjs';
import { quitActions } from '../support/desktop/quit_actions.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const challenge = {
  status: 401, headers: { 'www-authenticate': 'Basic realm="Archive"' }, body: 'access denied',
};
const routes = { '/secret': challenge };
const secretLink = link('open', '/secret');

/// The middle of the page.
const middle = [600, 420];
/// A corner of the page that nothing covers.
const corner = [1150, 120];

const isGrey = ([red, green, blue]) => red === green && green === blue;

/// Waits until WebKit has drawn its authentication dialog over the page.
async function awaitAuthentication(screen) {
  await waitFor('a dimmed page', () => screen.screenshot().pixel(...corner)[2] < pageColour[2]);
  // The dialog is grey and covers these points. Its texts and fields may cover some of them.
  const points = [520, 560, 600, 640, 680].flatMap((x) => [310, 345, 380, 415].map((y) => [x, y]));
  await waitFor('the dialog', () => {
    const screenshot = screen.screenshot();
    const grey = points.filter((point) => isGrey(screenshot.pixel(...point)));
    return grey.length > points.length / 2;
  });
}

/// Opens the inspector by the last item of the page's context menu, and waits until its tool bar
/// is drawn.
async function openInspector(screen) {
  await screen.click(...middle, { button: 3 });
  await screen.awaitMenu();
  await screen.pressKeys('Up', 'Return');
  await screen.awaitMenu(false);
  await waitFor('the inspector', () => isGrey(screen.screenshot().pixel(600, 790)));
}

const dialogs = {
  'the print dialog': {
    page: button('open', 'print()'),
    open: (screen) => screen.awaitSecondWindow(),
  },
  'the file chooser': {
    page: `${button('open', 'chooser.click()')}<input id="chooser" type="file">`,
    open: (screen) => screen.awaitSecondWindow(),
  },
  'the colour chooser': {
    page: `${button('open', 'chooser.click()')}<input id="chooser" type="color">`,
    open: (screen) => screen.awaitSecondWindow(),
  },
  'the authentication dialog': { page: secretLink, open: awaitAuthentication },
  'the attached inspector': { page: '', open: openInspector },
  'the detached inspector': {
    page: '',
    open: async (screen) => {
      await openInspector(screen);
      // The detach button accepts clicks only after the inspector has loaded.
      await waitFor('a window for the inspector', async () => {
        await screen.click(87, 513);
        return (await screen.windowCount()) === 2;
      }, { every: 300 });
      await screen.awaitSecondWindow();
    },
  },
};

const actions = {
  'the quit key': quitActions['the quit key'],
  SIGTERM: quitActions.SIGTERM,
  'closing the main window': (run, screen) => screen.closeMainWindow(),
};

for (const [dialog, { page, open }] of Object.entries(dialogs)) {
  for (const [action, quit] of Object.entries(actions)) {
    test(`${action} quits while ${dialog} is open`, async (user, screen) => {
      const layout = await user.startWithPage(page, { routes });
      await screen.awaitPage(...corner);
      if (page) await screen.clickElement(layout, 'open');
      await open(screen);
      await saveScreenshot(dialog);
      await quit(user.runs[0], screen);
      await user.awaitCleanExit();
      await user.root.awaitServerExit();
      assert.equal(user.root.events('stopped').length, 1, 'the server was not killed');
    });
  }
}

test('Escape cancels the authentication and shows the response', async (user, screen) => {
  const layout = await user.startWithPage(secretLink, { routes });
  await screen.awaitPage(...corner);
  await screen.clickElement(layout, 'open');
  await awaitAuthentication(screen);
  await screen.pressKeys('Escape');
  await screen.awaitPageText((text) => text === challenge.body);
  assert.equal(user.root.requests('/secret').length, 1);
  await user.quit();
});

test('name and password are sent, and Escape goes to the page afterwards',
  async (user, screen) => {
    const layout = await user.startWithPage(`<input id="field">
      ${button('open', "fetch('/secret').then(({ status }) => report('response', { status }))")}
      <script>
        addEventListener('keydown', ({ key }) => key === 'Escape' && report('escape'));
      </script>`, { routes });
    await screen.awaitPage(...corner);
    await screen.pressKeys('Escape');
    await user.root.awaitReport('escape');
    await screen.clickElement(layout, 'open');
    await awaitAuthentication(screen);
    await screen.type('name');
    await screen.pressKeys('Tab');
    await screen.type('word');
    await screen.pressKeys('Return');
    const request = await waitFor('a second request', () => user.root.requests('/secret')[1]);
    const credentials = Buffer.from('name:word').toString('base64');
    assert.equal(request.headers.authorization, `Basic ${credentials}`);
    // The server rejects this password too. Escape then cancels the request.
    await waitFor('the response', async () => {
      await screen.pressKeys('Escape');
      return user.root.reported('response').length === 1;
    }, { every: 300 });
    assert.deepEqual(user.root.reported('response'), [{ status: 401 }]);
    assert.equal(user.root.requests('/secret').length, 2);
    const before = user.root.reported('escape').length;
    await screen.clickElement(layout, 'field');
    await screen.pressKeys('Escape');
    await user.root.awaitReport('escape', before + 1);
    await user.quit();
  });

test('a cancelled file chooser sends the cancel event and opens again', async (user, screen) => {
  const layout = await user.startWithPage(`${button('open', 'chooser.click()')}
    <input id="chooser" type="file" oncancel="report('cancelled')">`);
  for (let round = 1; round <= 2; round += 1) {
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    await screen.pressKeys('Escape');
    await user.root.awaitReport('cancelled', round);
    await screen.awaitWindowCount(1);
  }
  await user.quit();
});
