// The page's own questions to the user, as native panels.

import assert from 'node:assert/strict';

import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const question = 'Wil je dit bestand weggooien?';
const button = (id, script) => `<button id="${id}" onclick="${script}">${id}</button>`;
const confirmButton = button('vraag', `report('voor'); report('antwoord', confirm('${question}'))`);
const alertButton = button('melding', "alert('Het is bewaard.'); report('na')");

/// Waits for what the page tells after a panel.
async function tells(user, name, value) {
  const layout = await waitFor(`"${name}" from the page`, () => user.root.reported(name)[0] !== undefined
    ? user.root.reported(name) : null);
  if (value !== undefined) assert.deepEqual(layout, [value]);
}

/// Clicks the button of a panel that stands before the last one, by its place.
async function clickSecondButton(screen, panel) {
  const shape = await screen.tool('xdotool', 'getwindowgeometry', '--shell', panel);
  const [x, y, width, height] = ['X', 'Y', 'WIDTH', 'HEIGHT'].map((name) =>
    Number(new RegExp(`^${name}=(-?\\d+)$`, 'm').exec(shape)[1]));
  const extents = await screen.property(panel, '_GTK_FRAME_EXTENTS');
  const [, right = 0, , bottom = 0] = (extents.match(/\d+/g) ?? []).map(Number);
  const [margin, first, gap, half] = [24, 57, 12, 40];
  await screen.click(x + width - right - margin - first - gap - half,
    y + height - bottom - margin - gap);
}

const answers = {
  'Return is "OK"': [true, (screen) => screen.pressKeys('Return')],
  'Escape is "Annuleren"': [false, (screen) => screen.pressKeys('Escape')],
  'closing the panel is "Annuleren"': [false, (screen) => screen.pressKeys('alt+F4')],
  'the other button by key is "Annuleren"':
    [false, (screen) => screen.pressKeys('shift+Tab', 'Return')],
  'the other button by mouse is "Annuleren"': [false, clickSecondButton],
};

for (const [name, [value, press]] of Object.entries(answers)) {
  test(`a question of the page: ${name}`, {}, async (user, screen) => {
    const layout = await user.startWithPage(confirmButton);
    await screen.clickElement(layout, 'vraag');
    const panel = await screen.awaitPanel(question);
    await saveScreenshot('confirm');
    assert.equal(await screen.windowCount(), 2);
    assert.deepEqual(user.root.reported('antwoord'), [], 'the page waits');
    await press(screen, panel);
    await screen.awaitPanelClosed(question);
    await tells(user, 'antwoord', value);
    await user.quit();
    assert.equal(user.root.reported('antwoord').length, 1);
  });
}

test('a message of the page holds the page and the window, and nothing else', {},
  async (user, screen) => {
    const layout = await user.startWithPage(alertButton +
      button('anders', "report('anders')"));
    await screen.clickElement(layout, 'melding');
    await screen.awaitPanel('Het is bewaard.');
    await saveScreenshot('alert');
    // Neither the window's keys nor its page are within reach.
    await screen.pressKeys('ctrl+r');
    await screen.clickElement(layout, 'anders');
    assert.deepEqual(user.root.reported('na'), []);
    await screen.awaitPanel('Het is bewaard.');
    await screen.pressKeys('Return');
    await tells(user, 'na');
    await screen.clickElement(layout, 'anders');
    await tells(user, 'anders', {});
    assert.equal(user.root.reported('painted').length, 1);
    await user.quit();
    assert.equal(user.root.requests('/').length, 1);
  });

test('a server that stops behind an open panel is reported after it', {},
  async (user, screen) => {
    const layout = await user.startWithPage(alertButton);
    await screen.clickElement(layout, 'melding');
    await screen.awaitPanel('Het is bewaard.');
    kill((await user.root.awaitStarted()).pid);
    await user.root.awaitServerExit();
    await screen.awaitPanel('Het is bewaard.');
    await screen.pressKeys('Return');
    await screen.awaitPanelClosed('Het is bewaard.');
    await screen.awaitPageText((page) => page.includes('De OS-server is gestopt (code 9).'));
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(2);
    await user.quit();
  });

test('the polling goes on behind an open panel, and so does the opening', {},
  async (user, screen) => {
    user.root.setBehaviour({ failedProbes: 30 });
    user.start();
    await waitFor('a first probe', () => user.root.requests('/api/wie').length > 0);
    const panel = await screen.openAddressDialog();
    const before = user.root.requests('/api/wie').length;
    assert.ok(before < 30, 'the polling is over too early for this test');
    await user.root.awaitPainted();
    assert.equal(await screen.awaitPanel('Adres van het OS'), panel);
    assert.equal(user.root.requests('/api/wie').length, 31);
    await screen.pressKeys('Escape');
    await screen.awaitPanelClosed('Adres van het OS');
    await user.quit();
  });

const ways = {
  "the menu's key": (run, screen) => screen.pressKeys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
};
for (const [name, quit] of Object.entries(ways)) {
  for (const [kind, script] of [['a page that never stops asking', 'for (;;) ask()'],
    ['an open question', "confirm('Nog een')"]]) {
    test(`${kind} does not stand in the way of quitting by ${name}`, {}, async (user, screen) => {
      const layout = await user.startWithPage(`${button('begin', script)}<script>
        // What the page sends must not wait until the script has ended.
        function ask() {
          const request = new XMLHttpRequest();
          request.open('POST', '/api/ronde', false);
          request.send('{}');
          alert('Nog een');
        }</script>`);
      const run = user.runs[0];
      await screen.clickElement(layout, 'begin');
      await screen.awaitPanel('Nog een');
      if (script.startsWith('for')) {
        for (let round = 1; round <= 4; round += 1) {
          await waitFor(`round ${round}`, () => user.root.reported('ronde').length === round);
          await screen.awaitPanel('Nog een');
          if (round < 4) await screen.pressKeys('Return');
        }
      }
      const asked = Date.now();
      await quit(run, screen);
      const { code, signal, time } = await user.awaitExit(run);
      assert.deepEqual({ code, signal }, { code: 0, signal: null });
      assert.ok(time - asked < 3000, `the end came after ${time - asked} ms`);
      assert.equal(user.root.events('stopped').length, 1);
    });
  }
}

test('prompt is answered with null and leaving is never asked about, without any panel', {},
  async (user, screen) => {
    const ask = button('prompt', "report('antwoord', prompt('Naam?', 'x'))");
    const layout = await user.startWithPage(`${ask}<script>
      addEventListener('beforeunload', (event) => {
        navigator.sendBeacon('/api/weg', '{}');
        event.preventDefault();
        event.returnValue = 'Blijf!';
      });
    </script>`);
    const maxWindows = screen.watchWindowCount();
    await screen.clickElement(layout, 'prompt');
    await tells(user, 'antwoord', null);
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(2);
    assert.ok(user.root.reported('weg').length >= 1, 'the page did object');
    await user.quit();
    assert.equal(await maxWindows(), 1);
  });
