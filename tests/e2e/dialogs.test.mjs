// The page's own questions to the user, as native panels.

import assert from 'node:assert/strict';

import { kill } from '../support/desktop/processes.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn();

const question = 'Wil je dit bestand weggooien?';
const button = (id, script) => `<button id="${id}" onclick="${script}">${id}</button>`;
const confirmButton = button('vraag', `tell('voor'); tell('antwoord', confirm('${question}'))`);
const alertButton = button('melding', "alert('Het is bewaard.'); tell('na')");

/// Waits for what the page tells after a panel.
async function tells(user, name, value) {
  const told = await waitFor(`"${name}" from the page`, () => user.root.told(name)[0] !== undefined
    ? user.root.told(name) : null);
  if (value !== undefined) assert.deepEqual(told, [value]);
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
  'Return is "OK"': [true, (screen) => screen.keys('Return')],
  'Escape is "Annuleren"': [false, (screen) => screen.keys('Escape')],
  'closing the panel is "Annuleren"': [false, (screen) => screen.keys('alt+F4')],
  'the other button by key is "Annuleren"':
    [false, (screen) => screen.keys('shift+Tab', 'Return')],
  'the other button by mouse is "Annuleren"': [false, clickSecondButton],
};

for (const [name, [value, press]] of Object.entries(answers)) {
  trial(`a question of the page: ${name}`, {}, async (user, screen) => {
    const told = await user.startWithPage(confirmButton);
    await screen.clickElement(told, 'vraag');
    const panel = await screen.panel(question);
    await keep('confirm');
    assert.equal(await screen.managedWindows(), 2);
    assert.deepEqual(user.root.told('antwoord'), [], 'the page waits');
    await press(screen, panel);
    await screen.panelGone(question);
    await tells(user, 'antwoord', value);
    await user.quit();
    assert.equal(user.root.told('antwoord').length, 1);
  });
}

trial('a message of the page holds the page and the window, and nothing else', {},
  async (user, screen) => {
    const told = await user.startWithPage(alertButton +
      button('anders', "tell('anders')"));
    await screen.clickElement(told, 'melding');
    await screen.panel('Het is bewaard.');
    await keep('alert');
    // Neither the window's keys nor its page are within reach.
    await screen.keys('ctrl+r');
    await screen.clickElement(told, 'anders');
    assert.deepEqual(user.root.told('na'), []);
    await screen.panel('Het is bewaard.');
    await screen.keys('Return');
    await tells(user, 'na');
    await screen.clickElement(told, 'anders');
    await tells(user, 'anders', {});
    assert.equal(user.root.told('getoond').length, 1);
    await user.quit();
    assert.equal(user.root.requests('/').length, 1);
  });

trial('a server that stops behind an open panel is reported after it', {},
  async (user, screen) => {
    const told = await user.startWithPage(alertButton);
    await screen.clickElement(told, 'melding');
    await screen.panel('Het is bewaard.');
    kill((await user.root.started()).pid);
    await user.root.serverGone();
    await screen.panel('Het is bewaard.');
    await screen.keys('Return');
    await screen.panelGone('Het is bewaard.');
    await screen.pageText((page) => page.includes('De OS-server is gestopt (code 9).'));
    await screen.keys('ctrl+r');
    await user.root.painted(2);
    await user.quit();
  });

trial('the polling goes on behind an open panel, and so does the opening', {},
  async (user, screen) => {
    user.root.behave({ refusals: 30 });
    user.start();
    await waitFor('a first probe', () => user.root.requests('/api/wie').length > 0);
    const panel = await screen.openAddressDialog();
    const before = user.root.requests('/api/wie').length;
    assert.ok(before < 30, 'the polling is over too early for this test');
    await user.root.painted();
    assert.equal(await screen.panel('Adres van het OS'), panel);
    assert.equal(user.root.requests('/api/wie').length, 31);
    await screen.keys('Escape');
    await screen.panelGone('Adres van het OS');
    await user.quit();
  });

const ways = {
  "the menu's key": (run, screen) => screen.keys('ctrl+q'),
  SIGTERM: (run) => kill(run.pid, 'SIGTERM'),
};
for (const [name, quit] of Object.entries(ways)) {
  for (const [kind, script] of [['a page that never stops asking', 'for (;;) ask()'],
    ['an open question', "confirm('Nog een')"]]) {
    trial(`${kind} does not stand in the way of quitting by ${name}`, {}, async (user, screen) => {
      const told = await user.startWithPage(`${button('begin', script)}<script>
        // What the page sends must not wait until the script has ended.
        function ask() {
          const request = new XMLHttpRequest();
          request.open('POST', '/api/ronde', false);
          request.send('{}');
          alert('Nog een');
        }</script>`);
      const run = user.starts[0];
      await screen.clickElement(told, 'begin');
      await screen.panel('Nog een');
      if (script.startsWith('for')) {
        for (let round = 1; round <= 4; round += 1) {
          await waitFor(`round ${round}`, () => user.root.told('ronde').length === round);
          await screen.panel('Nog een');
          if (round < 4) await screen.keys('Return');
        }
      }
      const asked = Date.now();
      await quit(run, screen);
      const { code, signal, time } = await user.ended(run);
      assert.deepEqual({ code, signal }, { code: 0, signal: null });
      assert.ok(time - asked < 3000, `the end came after ${time - asked} ms`);
      assert.equal(user.root.events('stopped').length, 1);
    });
  }
}

trial('prompt is answered with null and leaving is never asked about, without any panel', {},
  async (user, screen) => {
    const ask = button('prompt', "tell('antwoord', prompt('Naam?', 'x'))");
    const told = await user.startWithPage(`${ask}<script>
      addEventListener('beforeunload', (event) => {
        navigator.sendBeacon('/api/weg', '{}');
        event.preventDefault();
        event.returnValue = 'Blijf!';
      });
    </script>`);
    const most = screen.watchWindows();
    await screen.clickElement(told, 'prompt');
    await tells(user, 'antwoord', null);
    await screen.keys('ctrl+r');
    await user.root.painted(2);
    assert.ok(user.root.told('weg').length >= 1, 'the page did object');
    await user.quit();
    assert.equal(await most(), 1);
  });
