// The application can quit while a dialog or window of WebKit or GTK is open.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const challenge = {
  status: 401, headers: { 'www-authenticate': 'Basic realm="Archief"' }, body: 'geen toegang',
};
const routes = { '/geheim': challenge };
const secretLink = '<a id="open" href="/geheim">geheim</a>';

/// The middle of the page.
const middle = [600, 420];
/// A corner of the page that nothing covers.
const corner = [1150, 120];

/// Waits until WebKit has drawn its authentication dialog over the page.
async function authenticationOpen(screen) {
  await waitFor('the page in the shade', () => screen.screenshot().pixel(...corner)[2] < pageColour[2]);
  // The dialog is grey and covers these points, its texts and fields perhaps some of them.
  const points = [520, 560, 600, 640, 680].flatMap((x) => [310, 345, 380, 415].map((y) => [x, y]));
  await waitFor('the dialog', () => {
    const screenshot = screen.screenshot();
    const isGrey = ([red, green, blue]) => red === green && green === blue;
    return points.filter((point) => isGrey(screenshot.pixel(...point))).length > points.length / 2;
  });
}

/// Opens the inspector by the last item of the page's context menu, and waits
/// until its tool bar is drawn.
async function openInspector(screen) {
  await screen.click(...middle, { button: 3 });
  await screen.awaitMenu();
  await screen.pressKeys('Up', 'Return');
  await screen.awaitMenu(false);
  await waitFor('the inspector below the page', () => {
    const [red, green, blue] = screen.screenshot().pixel(600, 790);
    return red === green && green === blue;
  });
}

const dialogs = {
  'the print dialog': {
    page: '<button id="open" onclick="print()">afdrukken</button>',
    open: (screen) => screen.awaitSecondWindow(),
  },
  'the file chooser': {
    page: `<button id="open" onclick="bestand.click()">bestand</button>
      <input id="bestand" type="file">`,
    open: (screen) => screen.awaitSecondWindow(),
  },
  'the colour chooser': {
    page: `<button id="open" onclick="kleur.click()">kleur</button>
      <input id="kleur" type="color">`,
    open: (screen) => screen.awaitSecondWindow(),
  },
  'the authentication dialog': { page: secretLink, open: authenticationOpen },
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

const ways = {
  'the quit key': (run, screen) => screen.pressKeys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
  'closing the window': (run, screen) => screen.closeMainWindow(),
};

for (const [dialog, { page, open }] of Object.entries(dialogs)) {
  for (const [way, quit] of Object.entries(ways)) {
    test(`${way} quits while ${dialog} is open`, {}, async (user, screen) => {
      const layout = await user.startWithPage(page, { routes });
      await waitFor('the page', () => screen.screenshot().shows(pageColour, ...corner));
      if (page) await screen.clickElement(layout, 'open');
      await open(screen);
      await saveScreenshot(dialog);
      await quit(user.runs[0], screen);
      const { code, signal } = await user.awaitExit(user.runs[0]);
      assert.deepEqual({ code, signal }, { code: 0, signal: null });
      await user.root.awaitServerExit();
      assert.equal(user.root.events('stopped').length, 1, 'the server was stopped in order');
    });
  }
}

test('Escape cancels the authentication, and the page shows the answer', {},
  async (user, screen) => {
    const layout = await user.startWithPage(secretLink, { routes });
    await waitFor('the page', () => screen.screenshot().shows(pageColour, ...corner));
    await screen.clickElement(layout, 'open');
    await authenticationOpen(screen);
    await screen.pressKeys('Escape');
    await screen.awaitPageText((text) => text === challenge.body);
    assert.equal(user.root.requests('/geheim').length, 1);
    await user.quit();
  });

test('a name and a password go to the server; Escape then belongs to the page again', {},
  async (user, screen) => {
    const layout = await user.startWithPage(`<input id="field">
      <button id="open" onclick="fetch('/geheim').then(
        (answer) => report('antwoord', { status: answer.status }))">geheim</button><script>
      addEventListener('keydown', ({ key }) => key === 'Escape' && report('escape'));
      </script>`, { routes });
    await waitFor('the page', () => screen.screenshot().shows(pageColour, ...corner));
    await screen.pressKeys('Escape');
    await waitFor('Escape on the page', () => user.root.reported('escape').length === 1);
    await screen.clickElement(layout, 'open');
    await authenticationOpen(screen);
    await screen.type('aap');
    await screen.pressKeys('Tab');
    await screen.type('noot');
    await screen.pressKeys('Return');
    const asked = await waitFor('a second request', () => user.root.requests('/geheim')[1]);
    assert.equal(asked.headers.authorization,
      `Basic ${Buffer.from('aap:noot').toString('base64')}`);
    // The server rejects this password too. Escape then ends the requests.
    await waitFor('the answer for the page', async () => {
      await screen.pressKeys('Escape');
      return user.root.reported('antwoord').length === 1;
    }, { every: 300 });
    assert.deepEqual(user.root.reported('antwoord'), [{ status: 401 }]);
    assert.equal(user.root.requests('/geheim').length, 2);
    const before = user.root.reported('escape').length;
    await screen.clickElement(layout, 'field');
    await screen.pressKeys('Escape');
    await waitFor('Escape on the page', () => user.root.reported('escape').length > before);
    await user.quit();
  });

test('a file chooser that is cancelled tells the page, and works again', {},
  async (user, screen) => {
    const layout = await user.startWithPage(`
      <button id="open" onclick="bestand.click()">bestand</button>
      <input id="bestand" type="file" oncancel="report('geannuleerd')">`);
    for (let times = 1; times <= 2; times += 1) {
      await screen.clickElement(layout, 'open');
      await screen.awaitSecondWindow();
      await screen.pressKeys('Escape');
      await waitFor('cancel on the page', () => user.root.reported('geannuleerd').length === times);
      await screen.awaitWindowCount(1);
    }
    await user.quit();
  });
