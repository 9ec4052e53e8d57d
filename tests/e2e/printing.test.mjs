// Printing with window.print().

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { PrintServer } from '../support/desktop/print_server.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const texts = ['page one', 'page two', 'page three'];
const page = `${button('open', "print(); report('returned')")}<style>
    @media print { html, body { height: auto; overflow: visible; } button { display: none; } }
    p { break-after: page; margin: 0; }
  </style><p>${texts[0]}</p><p>${texts[1]}</p><div>${texts[2]}</div>`;

/// Returns the text of each page of a PDF file.
function pageTexts(path) {
  const text = execFileSync('pdftotext', ['-layout', path, '-'], { encoding: 'utf8' });
  return text.split('\f').slice(0, -1).map((each) => each.trim().replace(/\s+/g, ' '));
}

/// Returns the position of a printer in the list of the dialog.
async function printerPosition(row, screen, dialog) {
  const { x, y } = await screen.geometry(dialog);
  return [x + 80, y + 82 + 32 * row];
}

/// Returns whether the dialog's button is enabled, by the brightness of its label.
function canPrint(screen, [x, y]) {
  const screenshot = screen.screenshot();
  const offsets = Array.from({ length: 41 }, (_, index) => index - 20);
  return offsets.some((offset) => screenshot.pixel(x + 507 + offset, y + 350)[0] > 180);
}

/// Prints on the printer in this row, once it is listed and its details have arrived.
async function printOn(row, screen) {
  const position = await printerPosition(row, screen, await screen.awaitSecondWindow());
  await waitFor('the end of the print dialog', async () => {
    await screen.click(...position);
    await screen.pressKeys('alt+p');
    return (await screen.windowCount()) === 1;
  }, { every: 300 });
}

/// Prints with GTK's "print to file" and returns the text of each page.
async function printToFile(user, screen) {
  await printOn(0, screen);
  const path = join(user.folder, 'output.pdf');
  await waitFor('the complete file', () =>
    existsSync(path) && readFileSync(path, 'latin1').trimEnd().endsWith('%%EOF'));
  return pageTexts(path);
}

test('a page is printed to a PDF file', async (user, screen) => {
  const layout = await user.startWithPage(page);
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  await saveScreenshot('print-dialog');
  await user.root.awaitReport('returned');
  assert.deepEqual(await printToFile(user, screen), texts);
  await user.quit();
});

test('printing fires beforeprint and afterprint, and cancelling the dialog fires neither',
  async (user, screen) => {
    const layout = await user.startWithPage(`${page}<script>
      onbeforeprint = () => report('print', 'before');
      onafterprint = () => report('print', 'after');
    </script>`);
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    await screen.pressKeys('Escape');
    await screen.awaitWindowCount(1);
    await screen.clickElement(layout, 'open');
    await printToFile(user, screen);
    await user.root.awaitReport('print', 2);
    assert.deepEqual(user.root.reported('print'), ['before', 'after']);
    await user.quit();
  });

/// Opens a page's print dialog with a print server that is closed at the end of the test.
async function openDialogWithPrinter(user, screen) {
  const printServer = await PrintServer.open('Archive');
  user.cleanups.push(() => printServer.close());
  const layout = await user.startWithPage(page, {}, {
    environment: { CUPS_SERVER: printServer.address },
  });
  await screen.clickElement(layout, 'open');
  return printServer;
}

test('a page is printed on a printer', async (user, screen) => {
  const printServer = await openDialogWithPrinter(user, screen);
  await printOn(1, screen);
  await waitFor('a document', () => printServer.documents().length > 0);
  await user.quit();
  await user.assertNothingLeft();
  assert.equal(printServer.documents().length, 1);
  assert.deepEqual(pageTexts(printServer.documents()[0]), texts);
});

test('a printer that hangs does not delay quitting', async (user, screen) => {
  const printServer = await openDialogWithPrinter(user, screen);
  const position = await printerPosition(1, screen, await screen.awaitSecondWindow());
  await waitFor('an enabled button', async () => {
    await screen.click(...position);
    return canPrint(screen, position);
  }, { every: 300 });
  printServer.hang();
  await waitFor('the end of the print dialog', async () => {
    await screen.pressKeys('alt+p');
    return (await screen.windowCount()) === 1;
  }, { every: 300 });
  await user.quit();
  await user.assertNothingLeft();
});

test('a page that prints in a loop gets one dialog', async (user, screen) => {
  const script = `let count = 0; setInterval(() => { print(); report('count', count += 1); }, 50)`;
  const layout = await user.startWithPage(button('open', script));
  const maxWindows = screen.watchWindowCount();
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  await user.root.awaitReport('count', 10);
  assert.equal(await maxWindows(), 2);
  await user.quit();
});

test('the print dialog closes when the page navigates away', async (user, screen) => {
  const routes = { '/other': { page: 'other page' } };
  const layout = await user.startWithPage(`${button('open', 'print(); setInterval(check, 50)')}
    <script>
      const check = () => fetch('/leave').then(({ ok }) => ok && (location = '/other'));
    </script>`, { live: true, routes });
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  user.root.setBehaviour({ routes: { ...routes, '/leave': {} } });
  await user.root.awaitPainted(2);
  await screen.awaitWindowCount(1);
  await user.quit();
});
