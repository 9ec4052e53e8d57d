// Printing that a page asks for.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { PrintServer } from '../support/desktop/print_server.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const printButton = '<button id="open" onclick="print(); report(\'na\')">afdrukken</button>';
const pages = `<style>
    @media print { html, body { height: auto; overflow: visible; } button { display: none; } }
    p { break-after: page; margin: 0; }
  </style><p>eerste blad</p><p>tweede blad</p><div>derde blad</div>`;

/// Returns the text of each page of a PDF file.
function textsOf(path) {
  const text = execFileSync('pdftotext', ['-layout', path, '-'], { encoding: 'utf8' });
  return text.split('\f').slice(0, -1).map((page) => page.trim().replace(/\s+/g, ' '));
}

/// The position of a printer in the list of the dialog.
async function placeOfPrinter(row, screen, dialog) {
  const shape = await screen.tool('xdotool', 'getwindowgeometry', '--shell', dialog);
  const [left, top] = ['X', 'Y'].map((name) =>
    Number(new RegExp(`^${name}=(-?\\d+)$`, 'm').exec(shape)[1]));
  return [left + 80, top + 82 + 32 * row];
}

/// Whether the dialog's button is enabled, by the brightness of its label.
function canPrint(screen, [x, y]) {
  const picture = screen.screenshot();
  for (let across = -20; across <= 20; across += 1) {
    if (picture.pixel(x + 507 + across, y + 350)[0] > 180) return true;
  }
  return false;
}

/// Chooses a printer by its row and prints, after the printer is listed and its details
/// have arrived.
async function printOn(row, screen, dialog) {
  const place = await placeOfPrinter(row, screen, dialog);
  await waitFor('the end of the print dialog', async () => {
    await screen.click(...place);
    await screen.pressKeys('alt+p');
    return (await screen.windowCount()) === 1;
  }, { every: 300 });
}

/// Prints with GTK's "print to file" and returns the text of each page.
async function printToFile(user, screen) {
  await printOn(0, screen, await screen.awaitSecondWindow());
  const path = join(user.folder, 'output.pdf');
  await waitFor('the whole file', () =>
    existsSync(path) && readFileSync(path, 'latin1').trimEnd().endsWith('%%EOF'));
  return textsOf(path);
}

test('a page is printed to a PDF file', {}, async (user, screen) => {
  const layout = await user.startWithPage(`${printButton}${pages}`);
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  await saveScreenshot('print dialog');
  await waitFor('the page to go on', () => user.root.reported('na').length === 1);
  assert.deepEqual(await printToFile(user, screen), ['eerste blad', 'tweede blad', 'derde blad']);
  await user.quit();
});

test('the page is told when it is printed, and not of a dialog that is cancelled', {},
  async (user, screen) => {
    const layout = await user.startWithPage(`${printButton}${pages}<script>
      onbeforeprint = () => report('afdruk', { event: 'before' });
      onafterprint = () => report('afdruk', { event: 'after' });
    </script>`);
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    await screen.pressKeys('Escape');
    await screen.awaitWindowCount(1);
    await screen.clickElement(layout, 'open');
    await printToFile(user, screen);
    await waitFor('the end of printing', () => user.root.reported('afdruk').length >= 2);
    assert.deepEqual(user.root.reported('afdruk'), [{ event: 'before' }, { event: 'after' }]);
    await user.quit();
  });

test('a page is printed on a printer', {}, async (user, screen) => {
  const printers = await PrintServer.open('Archief');
  try {
    const layout = await user.startWithPage(`${printButton}${pages}`, {}, {
      environment: { CUPS_SERVER: printers.address },
    });
    await screen.clickElement(layout, 'open');
    await printOn(1, screen, await screen.awaitSecondWindow());
    await waitFor('a document', () => printers.documents().length > 0);
    await user.quit();
    await user.assertNothingLeft();
    assert.equal(printers.documents().length, 1);
    assert.deepEqual(textsOf(printers.documents()[0]),
      ['eerste blad', 'tweede blad', 'derde blad']);
  } finally {
    await saveScreenshot('printer');
    await printers.close();
  }
});

test('a printer that hangs does not hold up quitting', {}, async (user, screen) => {
  const printers = await PrintServer.open('Archief');
  try {
    const layout = await user.startWithPage(`${printButton}${pages}`, {}, {
      environment: { CUPS_SERVER: printers.address },
    });
    await screen.clickElement(layout, 'open');
    const place = await placeOfPrinter(1, screen, await screen.awaitSecondWindow());
    await waitFor('a button that prints', async () => {
      await screen.click(...place);
      return canPrint(screen, place);
    }, { every: 300 });
    printers.hang();
    await waitFor('the end of the print dialog', async () => {
      await screen.pressKeys('alt+p');
      return (await screen.windowCount()) === 1;
    }, { every: 300 });
    const { code, signal } = await user.quit();
    assert.deepEqual({ code, signal }, { code: 0, signal: null });
    await user.assertNothingLeft();
  } finally {
    await printers.close();
  }
});

test('a page that asks again while the dialog is open gets no second one', {},
  async (user, screen) => {
    const layout = await user.startWithPage(`<button id="open" onclick="begin()">afdrukken</button>
      <script>
        function begin() {
          let times = 0;
          setInterval(() => {
            print();
            times += 1;
            report('keer', { times });
          }, 50);
        }
      </script>`);
    const maxWindows = screen.watchWindowCount();
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    await waitFor('ten requests', () => user.root.reported('keer').length >= 10);
    assert.equal(await maxWindows(), 2);
    await user.quit();
  });

test('the print dialog goes with the page that asked for it', {}, async (user, screen) => {
  const layout = await user.startWithPage(
    `<button id="open" onclick="print(); setInterval(look, 50)">afdrukken</button><script>
      const look = () => fetch('/doorgaan').then(({ ok }) => ok && (location = '/elders'));
    </script>`, { live: true, routes: { '/elders': { page: 'elders' } } });
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  user.root.setBehaviour({ routes: { '/doorgaan': {}, '/elders': { page: 'elders' } } });
  await user.root.awaitPainted(2);
  await screen.awaitWindowCount(1);
  await user.quit();
});
