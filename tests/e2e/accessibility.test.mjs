// The dialogs as a screen reader sees them, and their operation by the keyboard.

import assert from 'node:assert/strict';
import { setTimeout as pause } from 'node:timers/promises';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { addressDialogTitle } from '../support/desktop/screen.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

// GTK gives the role "alert" to an alert dialog since 4.10.
const awaitDialog = ({ accessibility }, name) =>
  accessibility.awaitWidget({ role: /^(dialog|alert)$/, name });
const awaitFocus = ({ accessibility }, name) => accessibility.awaitWidget({ name, focused: true });

test('the address dialog has an accessible name and description, its field and buttons a name',
  async (user, screen) => {
    await user.startAndShowPage();
    await screen.openAddressDialog();
    const { description } = await awaitDialog(screen, addressDialogTitle);
    // The text says "Mac" on Linux too.
    assert.match(description, /Online: .*\nOp deze Mac: http:\/\/127\.0\.0\.1:4767\//);
    await screen.accessibility.awaitWidget({ role: /^(entry|text)$/, name: addressDialogTitle });
    for (const name of ['Bewaar', 'Annuleren']) {
      await screen.accessibility.awaitWidget({ role: /button/, name });
    }
    await screen.closePanel(addressDialogTitle, 'Escape');
  });

test('the Tab key moves between the buttons only, and their bright focus ring stays',
  async (user, screen) => {
    const layout = await user.startWithPage(button('ask', "confirm('Continue?')"));
    await screen.clickElement(layout, 'ask');
    const panel = await screen.awaitPanel('Continue?');
    // The message is the name of the dialog. A description would be a second text.
    assert.equal((await awaitDialog(screen, 'Continue?')).description, '');
    for (const label of ['Annuleren', 'OK']) {
      await screen.pressKeys('Tab');
      const { extents } = await awaitFocus(screen, label);
      const { x: left, y: top } = await screen.geometry(panel);
      // Looks for the two bright pixels of the ring's upper edge, above the middle of the button.
      // The edge is up to 16 pixels above the extents, because these may leave out the padding.
      const x = Math.round(left + extents.x + extents.width / 2);
      const y = Math.round(top + extents.y);
      const hasRing = () => {
        const image = screen.screenshot();
        const isBright = (colour) => colour.every((channel) => channel > 200);
        const column = Array.from({ length: 16 }, (_, row) => image.pixel(x, y - 1 - row));
        return column.filter(isBright).length >= 2;
      };
      await waitFor(`a ring around ${label}`, hasRing);
      // By default GTK hides the focus ring after three seconds. This ring must stay.
      await pause(4000);
      assert.ok(hasRing(), `the ring around ${label} has disappeared`);
    }
    // A message that does not scroll cannot get the focus.
    await screen.pressKeys('Tab');
    await awaitFocus(screen, 'Annuleren');
    await screen.closePanel('Continue?');
  });

test('the Tab key reaches a long message, and Page Down and Page Up scroll it',
  async (user, screen) => {
    const text = Array.from({ length: 80 }, (_, line) => `Line ${line}`).join('\\n');
    const layout = await user.startWithPage(button('long', `alert('${text}')`));
    await screen.clickElement(layout, 'long');
    await screen.awaitWindowCount(2);
    const messageTop = async () => (await screen.accessibility.widgets()).find(
      ({ role, name }) => role === 'label' && name.startsWith('Line 0'))?.extents.y;
    const top = await waitFor('the message', messageTop);
    // Page Down (Next) and Page Up (Prior) scroll regardless of the focus, here on the button.
    await screen.pressKeys('Next');
    await waitFor('the message scrolled down', async () => (await messageTop()) < top);
    await screen.pressKeys('Prior');
    await waitFor('the message scrolled to its top', async () => (await messageTop()) === top);
    // From the only button to the message, and back.
    await screen.pressKeys('Tab');
    await screen.accessibility.awaitWidget({ role: /button/, name: 'OK', focused: false });
    await screen.pressKeys('Tab');
    await awaitFocus(screen, 'OK');
    await screen.pressKeys('Return');
    await screen.awaitWindowCount(1);
  });
