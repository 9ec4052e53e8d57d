// The application can quit while a dialog or window of WebKit or GTK is open.

import assert from 'node:assert/strict';

import { pageColour } from '../support/desktop/page.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn();

const challenge = {
  status: 401, headers: { 'www-authenticate': 'Basic realm="Archief"' }, body: 'geen toegang',
};
const routes = { '/geheim': challenge };
const secretLink = '<a id="open" href="/geheim">geheim</a>';

/// The middle of the page, which the authentication dialog covers.
const middle = [600, 420];
/// A corner of the page that nothing covers.
const corner = [1150, 120];

/// Waits until WebKit has drawn its authentication dialog over the page.
async function authenticationOpen(screen) {
  await waitFor('the page in the shade', () => screen.picture().at(...corner)[2] < pageColour[2]);
  await waitFor('the dialog', () => {
    const [red, green, blue] = screen.picture().at(...middle);
    return red === green && green === blue;
  });
}

/// Opens the inspector by the last item of the page's context menu, and waits
/// until its tool bar is drawn.
async function openInspector(screen) {
  await screen.click(...middle, { button: 3 });
  await screen.menu();
  await screen.keys('Up', 'Return');
  await screen.menu(false);
  await waitFor('the inspector below the page', () => {
    const [red, green, blue] = screen.picture().at(600, 790);
    return red === green && green === blue;
  });
}

const dialogs = {
  'the print dialog': {
    page: '<button id="open" onclick="print()">afdrukken</button>',
    open: (screen) => screen.secondWindow(),
  },
  'the file chooser': {
    page: `<button id="open" onclick="bestand.click()">bestand</button>
      <input id="bestand" type="file">`,
    open: (screen) => screen.secondWindow(),
  },
  'the colour chooser': {
    page: `<button id="open" onclick="kleur.click()">kleur</button>
      <input id="kleur" type="color">`,
    open: (screen) => screen.secondWindow(),
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
        return (await screen.managedWindows()) === 2;
      }, { every: 300 });
      await screen.secondWindow();
    },
  },
};

const ways = {
  'the quit key': (run, screen) => screen.keys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
  'closing the window': (run, screen) => screen.closeMainWindow(),
};

for (const [dialog, { page, open }] of Object.entries(dialogs)) {
  for (const [way, quit] of Object.entries(ways)) {
    trial(`${way} quits while ${dialog} is open`, {}, async (user, screen) => {
      const told = await user.startWithPage(page, { routes });
      await waitFor('the page', () => screen.picture().shows(pageColour, ...corner));
      if (page) await screen.clickElement(told, 'open');
      await open(screen);
      await keep(dialog);
      await quit(user.starts[0], screen);
      const { code, signal } = await user.ended(user.starts[0]);
      assert.deepEqual({ code, signal }, { code: 0, signal: null });
      await user.root.serverGone();
      assert.equal(user.root.events('stopped').length, 1, 'the server was stopped in order');
    });
  }
}

trial('Escape cancels the authentication, and the page shows the answer', {},
  async (user, screen) => {
    const told = await user.startWithPage(secretLink, { routes });
    await waitFor('the page', () => screen.picture().shows(pageColour, ...corner));
    await screen.clickElement(told, 'open');
    await authenticationOpen(screen);
    await screen.keys('Escape');
    await screen.pageText((text) => text === challenge.body);
    assert.equal(user.root.requests('/geheim').length, 1);
    await user.quit();
  });

trial('a name and a password go to the server; Escape then belongs to the page again', {},
  async (user, screen) => {
    const told = await user.startWithPage(`<input id="veld">
      <button id="open" onclick="fetch('/geheim').then(
        (answer) => tell('antwoord', { status: answer.status }))">geheim</button><script>
      addEventListener('keydown', ({ key }) => key === 'Escape' && tell('escape'));
      </script>`, { routes });
    await waitFor('the page', () => screen.picture().shows(pageColour, ...corner));
    await screen.keys('Escape');
    await waitFor('Escape on the page', () => user.root.told('escape').length === 1);
    await screen.clickElement(told, 'open');
    await authenticationOpen(screen);
    await screen.type('aap');
    await screen.keys('Tab');
    await screen.type('noot');
    await screen.keys('Return');
    const asked = await waitFor('a second request', () => user.root.requests('/geheim')[1]);
    assert.equal(asked.headers.authorization,
      `Basic ${Buffer.from('aap:noot').toString('base64')}`);
    // The server rejects this password too. Escape then ends the requests.
    await waitFor('the answer for the page', async () => {
      await screen.keys('Escape');
      return user.root.told('antwoord').length === 1;
    }, { every: 300 });
    assert.deepEqual(user.root.told('antwoord'), [{ status: 401 }]);
    assert.equal(user.root.requests('/geheim').length, 2);
    const before = user.root.told('escape').length;
    await screen.clickElement(told, 'veld');
    await screen.keys('Escape');
    await waitFor('Escape on the page', () => user.root.told('escape').length > before);
    await user.quit();
  });

trial('a file chooser that is cancelled tells the page, and works again', {},
  async (user, screen) => {
    const told = await user.startWithPage(`
      <button id="open" onclick="bestand.click()">bestand</button>
      <input id="bestand" type="file" oncancel="tell('geannuleerd')">`);
    for (let times = 1; times <= 2; times += 1) {
      await screen.clickElement(told, 'open');
      await screen.secondWindow();
      await screen.keys('Escape');
      await waitFor('cancel on the page', () => user.root.told('geannuleerd').length === times);
      await screen.managing(1);
    }
    await user.quit();
  });
