// Dialogs with a screen reader and with the keyboard.

import assert from 'node:assert/strict';
import { setTimeout as pause } from 'node:timers/promises';

import { withAccessibility } from '../support/desktop/accessibility.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const addressTitle = 'Adres van het OS';

/// Declares a test whose body also gets a function that reads the accessibles of the open dialog,
/// and a function that shows a page.
function accessibilityTest(name, body) {
  // Each read starts a program, which takes long on a busy machine.
  test(name, { timeout: 180_000 }, (user, screen) =>
    withAccessibility(screen, (environment, read) =>
      body(user, screen, read, (page) => user.startWithPage(page, {}, { environment }))));
}

/// Waits for an accessible that satisfies a predicate.
const awaitAccessible = (what, read, matches) =>
  waitFor(what, async () => (await read()).find(matches));
const awaitFocus = (label, read) =>
  awaitAccessible(`the focus on ${label}`, read, ({ name, focused }) => name === label && focused);

accessibilityTest('the address dialog has a name and a description, and its field has a name',
  async (user, screen, read, showPage) => {
    await showPage('');
    await screen.openAddressDialog();
    await saveScreenshot('accessible-address-dialog');
    const dialog = await awaitAccessible('the dialog', read, () => true);
    assert.equal(dialog.name, addressTitle);
    assert.match(dialog.description, /Online: .*\nOp deze Mac: http:\/\/127\.0\.0\.1:4767\//);
    const field = await awaitAccessible('the field', read, ({ role }) =>
      /^(entry|text)$/.test(role));
    assert.equal(field.name, addressTitle);
    const names = (await read()).filter(({ role }) => /button/.test(role)).map(({ name }) => name);
    assert.ok(names.includes('Bewaar') && names.includes('Annuleren'), String(names));
    await user.quit();
  });

accessibilityTest('a button with the keyboard focus has a bright ring that stays',
  async (user, screen, read, showPage) => {
    const layout = await showPage(button('ask', "confirm('Continue?')"));
    await screen.clickElement(layout, 'ask');
    const panel = await screen.awaitPanel('Continue?');
    const dialog = await awaitAccessible('the dialog', read, () => true);
    assert.equal(dialog.name, 'Continue?');
    assert.equal(dialog.description, '');
    for (const label of ['Annuleren', 'OK']) {
      await screen.pressKeys('Tab');
      const { extents } = await awaitFocus(label, read);
      const { x: left, y: top } = await screen.geometry(panel);
      // Above the middle of the button. Its extents may leave out the padding of the label.
      const x = Math.round(left + extents.x + extents.width / 2);
      const bottom = Math.round(top + extents.y) - 1;
      const hasRing = () => Array.from({ length: 16 }, (_, above) =>
        screen.screenshot().pixel(x, bottom - above))
        .filter((colour) => colour.every((channel) => channel > 200)).length >= 2;
      await waitFor(`a ring around ${label}`, hasRing);
      await saveScreenshot(`focus-${label}`);
      // GTK hides its own focus ring after three seconds.
      await pause(4000);
      assert.ok(hasRing(), `no ring around ${label} any more`);
    }
    await screen.closePanel('Continue?');
    await user.quit();
  });

accessibilityTest('the Tab key reaches a long message, and Page Down and Page Up scroll it',
  async (user, screen, read, showPage) => {
    const text = Array.from({ length: 80 }, (_, line) => `Line ${line}`).join('\\n');
    const layout = await showPage(button('long', `alert('${text}')`));
    await screen.clickElement(layout, 'long');
    await screen.awaitWindowCount(2);
    const isMessage = ({ role, name }) => role === 'label' && name.startsWith('Line 0');
    await awaitAccessible('the message', read, isMessage);
    await saveScreenshot('long-message');
    const messageTop = async () => (await read()).find(isMessage).extents.y;
    const top = await messageTop();
    await screen.pressKeys('Next');
    await waitFor('a scrolled message', async () => (await messageTop()) < top);
    await screen.pressKeys('Prior');
    await waitFor('the top of the message', async () => (await messageTop()) === top);
    // From the only button to the message, and back.
    const isButtonFocused = async () =>
      (await read()).some(({ name, focused }) => name === 'OK' && focused);
    await screen.pressKeys('Tab');
    await waitFor('the focus off the button', async () => !(await isButtonFocused()));
    await saveScreenshot('long-message-focus');
    await screen.pressKeys('Tab');
    await waitFor('the focus on the button', isButtonFocused);
    await screen.pressKeys('Return');
    await screen.awaitWindowCount(1);
    await user.quit();
  });

accessibilityTest('the Tab key skips a message that does not scroll',
  async (user, screen, read, showPage) => {
    const layout = await showPage(button('short', "confirm('Short')"));
    await screen.clickElement(layout, 'short');
    await screen.awaitPanel('Short');
    for (const label of ['Annuleren', 'OK', 'Annuleren']) {
      await screen.pressKeys('Tab');
      await awaitFocus(label, read);
    }
    await screen.closePanel('Short', 'Escape');
    await user.quit();
  });
