// Quitting while a dialog is open, and the dialogs that WebKit and GTK open.

import assert from 'node:assert/strict';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button, link } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { repeatUntil, waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

/// The response that makes WebKit ask for a name and a password.
const challenge = {
  status: 401, headers: { 'www-authenticate': 'Basic realm="Archive"' }, body: 'access denied',
};
const routes = { '/secret': challenge };
const secretLink = link('open', '/secret');

const awaitAuthenticationDialog = ({ accessibility }) =>
  accessibility.awaitWidget({ name: 'Username', focused: true });

/// A point of the page that neither a dialog nor the attached inspector covers.
const uncoveredPoint = [600, 420];
/// A point of the attached inspector, which is at the bottom of the window. Its tool bar is grey.
const inspectorPoint = [600, 790];
/// The middle of the button that detaches the inspector, relative to the inspector.
const detachButton = [87, 13];

/// Opens the inspector by the last item of the page's context menu, waits until its tool bar is
/// drawn, and returns its extents in the window, which fills the screen.
async function openInspector(screen) {
  await screen.click(...uncoveredPoint, { button: 3 });
  await screen.awaitMenuOpen();
  await screen.pressKeys('Up', 'Return');
  await screen.awaitMenuClosed();
  // GTK names the web views by their classes. That of the page is WebKitWebView.
  const { extents } = await screen.accessibility.awaitWidget({ name: 'WebKitWebViewBase' });
  await waitFor('the inspector', () => {
    const [red, green, blue] = screen.screenshot().pixel(...inspectorPoint);
    return red === green && green === blue;
  });
  return extents;
}

/// Returns a page whose element "open" opens the chooser of an input element.
const chooser = (attributes) =>
  `${button('open', 'chooser.click()')}<input id="chooser" ${attributes}>`;

/// A click on the element "open" of `page` opens the dialog, and `open` waits for it, by default
/// for a second window. With an empty page, `open` itself opens the inspector.
const dialogs = {
  'a panel of the page': {
    page: button('open', "confirm('Continue?')"),
    open: (screen) => screen.awaitPanel('Continue?'),
  },
  'the print dialog': { page: button('open', 'print()') },
  'the file chooser': { page: chooser('type="file"') },
  'the colour chooser': { page: chooser('type="color"') },
  'the authentication dialog': { page: secretLink, open: awaitAuthenticationDialog },
  'the attached inspector': { page: '', open: openInspector },
  'the detached inspector': {
    page: '',
    open: async (screen) => {
      const { x, y } = await openInspector(screen);
      // The inspector is a page without accessible widgets. Its detach button accepts clicks
      // only after it has loaded.
      const [buttonX, buttonY] = detachButton;
      await repeatUntil('a window for the inspector',
        () => screen.click(x + buttonX, y + buttonY),
        async () => (await screen.windowCount()) === 2);
      await screen.awaitSecondWindow();
    },
  },
};

/// The actions that quit, each a function of the run and the screen.
const quitActions = {
  'Control-Q': (run, screen) => screen.pressKeys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
  // Asks the main window to close, as a task bar does, whichever window has the focus.
  'closing the main window': async (run, screen) =>
    screen.runTool('wmctrl', '-i', '-c', await screen.awaitWindow()),
};

for (const [dialog, { page, open }] of Object.entries(dialogs)) {
  for (const [action, quit] of Object.entries(quitActions)) {
    test(`${action} quits while ${dialog} is open`, async (user, screen) => {
      const layout = await user.startWithPage(page, routes);
      await screen.awaitPageOnScreen(...uncoveredPoint);
      if (page) await screen.clickElement(layout, 'open');
      await (open ? open(screen) : screen.awaitSecondWindow());
      await quit(user.run, screen);
      await user.awaitCleanExit();
      await user.localServer.awaitServerExit();
      assert.equal(user.localServer.events('stopped').length, 1, 'the server was not killed');
    });
  }
}

test('Escape in the authentication dialog shows the body of the response', async (user, screen) => {
  const layout = await user.startWithPage(secretLink, routes);
  await screen.awaitPageOnScreen(...uncoveredPoint);
  await screen.clickElement(layout, 'open');
  await awaitAuthenticationDialog(screen);
  await screen.pressKeys('Escape');
  await screen.awaitPageText((text) => text === challenge.body);
  assert.equal(user.localServer.requestsTo('/secret').length, 1);
});

test('the authentication dialog sends name and password; once closed, the page gets Escape again',
  async (user, screen) => {
    const layout = await user.startWithPage(`<input id="field">
      ${button('open', "fetch('/secret').then(({ status }) => report('response', { status }))")}
      <script>
        addEventListener('keydown', ({ key }) => key === 'Escape' && report('escape'));
      </script>`, routes);
    await screen.awaitPageOnScreen(...uncoveredPoint);
    await screen.pressKeys('Escape');
    await user.localServer.awaitReport('escape');
    await screen.clickElement(layout, 'open');
    await awaitAuthenticationDialog(screen);
    await screen.type('name');
    await screen.pressKeys('Tab');
    await screen.type('word');
    await screen.pressKeys('Return');
    const request = await user.localServer.awaitRequest('/secret', 2);
    const credentials = Buffer.from('name:word').toString('base64');
    assert.equal(request.headers.authorization, `Basic ${credentials}`);
    // The server rejects this password, so WebKit asks again. Escape cancels the request.
    await repeatUntil('the response', () => screen.pressKeys('Escape'),
      () => user.localServer.reported('response').length === 1);
    assert.deepEqual(user.localServer.reported('response'), [{ status: 401 }]);
    assert.equal(user.localServer.requestsTo('/secret').length, 2);
    const before = user.localServer.reported('escape').length;
    await screen.clickElement(layout, 'field');
    await screen.pressKeys('Escape');
    await user.localServer.awaitReport('escape', before + 1);
  });

test('a cancelled file chooser fires the cancel event and opens again', async (user, screen) => {
  const page = chooser(`type="file" oncancel="report('cancelled')"`);
  const layout = await user.startWithPage(page);
  for (let round = 1; round <= 2; round += 1) {
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    await screen.pressKeys('Escape');
    await user.localServer.awaitReport('cancelled', round);
    await screen.awaitWindowCount(1);
  }
});
