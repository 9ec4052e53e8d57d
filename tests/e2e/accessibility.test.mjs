// Alerts with a screen reader and with the keyboard.

import assert from 'node:assert/strict';

import { withAccessibility } from '../support/desktop/accessibility.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const button = (id, script) => `<button id="${id}" onclick="${script}">${id}</button>`;
// Each look starts a program, which takes long on a busy machine.
const patient = { timeout: 180_000 };

const addressTitle = 'Adres van het OS';

/// Waits until the dialog holds what `find` looks for.
const awaitNode = (what, read, find) => waitFor(what, async () => (await read()).find(find));
/// Waits until the element of this name has the focus.
const awaitFocus = (label, read) =>
  awaitNode(`the focus on ${label}`, read, ({ name, focused }) => name === label && focused);

/// Returns the screen position of an accessible of a panel.
async function onScreen(screen, panel, { place }) {
  const shape = await screen.tool('xdotool', 'getwindowgeometry', '--shell', panel);
  const [x, y] = ['X', 'Y'].map((name) =>
    Number(new RegExp(`^${name}=(-?\\d+)$`, 'm').exec(shape)[1]));
  return { ...place, x: x + place.x, y: y + place.y };
}

test('the address dialog is a dialog with a description, and its field has a name', patient,
  (user, screen) => withAccessibility(screen, async (environment, read) => {
    await user.startAndShowPage({ environment });
    await screen.openAddressDialog();
    await saveScreenshot('accessible-address-dialog');
    const dialog = await awaitNode('the dialog', read, () => true);
    assert.equal(dialog.name, addressTitle);
    assert.match(dialog.description, /Online: .*\nOp deze Mac: http:\/\/127\.0\.0\.1:4767\//);
    const field = await awaitNode('the field', read, ({ role }) => /^(entry|text)$/.test(role));
    assert.equal(field.name, addressTitle);
    const names = (await read()).filter(({ role }) => /button/.test(role)).map(({ name }) => name);
    assert.ok(names.includes('Bewaar') && names.includes('Annuleren'), String(names));
    await user.quit();
  }));

test('the button that has the focus by keyboard has a bright ring', patient,
  (user, screen) => withAccessibility(screen, async (environment, read) => {
    const page = button('vraag', "confirm('Doorgaan?')");
    const layout = await user.startWithPage(page, {}, { environment });
    await screen.clickElement(layout, 'vraag');
    const panel = await screen.awaitPanel('Doorgaan?');
    const dialog = await awaitNode('the dialog', read, () => true);
    assert.equal(dialog.name, 'Doorgaan?');
    assert.equal(dialog.description, '');
    for (const label of ['Annuleren', 'OK']) {
      await screen.pressKeys('Tab');
      const place = await onScreen(screen, panel, await awaitFocus(label, read));
      // Above the button's middle; its place may leave out what surrounds the label.
      const x = Math.round(place.x + place.width / 2);
      const ring = () => Array.from({ length: 16 }, (_, above) =>
        screen.screenshot().pixel(x, Math.round(place.y) - 1 - above))
        .filter((colour) => colour.every((part) => part > 200)).length;
      await waitFor(`a ring around ${label}`, () => ring() >= 2);
      await saveScreenshot(`focus-${label}`);
      // The ring must stay; GTK's own disappears after three seconds.
      await new Promise((resolve) => setTimeout(resolve, 4000));
      assert.ok(ring() >= 2, `no ring around ${label} any more`);
    }
    await screen.pressKeys('Return');
    await screen.awaitPanelClosed('Doorgaan?');
    await user.quit();
  }));

const long = Array.from({ length: 80 }, (_, line) => `Regel ${line}`).join('\\n');

test('Page Down and Page Up scroll a long message, which the Tab key reaches', patient,
  (user, screen) => withAccessibility(screen, async (environment, read) => {
    const layout = await user.startWithPage(button('lang', `alert('${long}')`), {}, { environment });
    await screen.clickElement(layout, 'lang');
    await waitFor('the panel', async () => (await screen.windowCount()) === 2);
    await awaitNode('the message', read, ({ role, name }) =>
      role === 'label' && name.startsWith('Regel 0'));
    await saveScreenshot('long-message');
    const y = async () => (await read()).find(({ role, name }) =>
      role === 'label' && name.startsWith('Regel 0')).place.y;
    const top = await y();
    await screen.pressKeys('Next');
    await waitFor('a scrolled message', async () => (await y()) < top);
    await screen.pressKeys('Prior');
    await waitFor('the top of the message', async () => (await y()) === top);
    // From the only button to the message, and back.
    const hasFocus = async () =>
      (await read()).some(({ name, focused }) => name === 'OK' && focused);
    await screen.pressKeys('Tab');
    await waitFor('the focus off the button', async () => !(await hasFocus()));
    await saveScreenshot('long-message-focus');
    await screen.pressKeys('Tab');
    await waitFor('the focus on the button', hasFocus);
    await screen.pressKeys('Return');
    await screen.awaitWindowCount(1);
    await user.quit();
  }));

test('the Tab key passes a message that does not scroll', patient,
  (user, screen) => withAccessibility(screen, async (environment, read) => {
    const layout = await user.startWithPage(button('kort', "confirm('Kort')"), {}, { environment });
    await screen.clickElement(layout, 'kort');
    await screen.awaitPanel('Kort');
    for (const label of ['Annuleren', 'OK', 'Annuleren']) {
      await screen.pressKeys('Tab');
      await awaitFocus(label, read);
    }
    await screen.pressKeys('Escape');
    await screen.awaitPanelClosed('Kort');
    await user.quit();
  }));
