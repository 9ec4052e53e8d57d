// Printing with window.print().

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { PrintServer } from '../support/desktop/print_server.mjs';
import { repeatUntil, waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests({ accessibility: true });

const printedTexts = ['page one', 'page two', 'page three'];
/// A page that prints itself on three sheets.
const printingPage = `${button('open', "print(); report('returned')")}<style>
    @media print { html, body { height: auto; overflow: visible; } button { display: none; } }
    p { break-after: page; margin: 0; }
  </style><p>${printedTexts[0]}</p><p>${printedTexts[1]}</p><div>${printedTexts[2]}</div>`;

/// Returns the text of each page of a PDF file.
function pageTexts(path) {
  const text = execFileSync('pdftotext', ['-layout', path, '-'], { encoding: 'utf8' });
  return text.split('\f').slice(0, -1).map((each) => each.trim().replace(/\s+/g, ' '));
}

const printToFile = 'Print to File';
/// GTK enables the button once the details of the selected printer have arrived. In GTK 4.8 its
/// name is that of the label with and without the mnemonic: "_Print Print".
const printButton = { role: /button/, name: /Print$/, enabled: true };

/// Selects a printer in the list of the dialog, which ignores clicks at first, and waits for the
/// printer's details.
async function selectPrinter(screen, name) {
  const { accessibility } = screen;
  const dialog = await screen.awaitSecondWindow();
  await repeatUntil(`the details of the printer "${name}"`,
    () => accessibility.click(dialog, { role: 'label', name }),
    () => accessibility.findWidget(printButton));
  return dialog;
}

/// Selects a printer and confirms the dialog.
async function printOn(screen, name) {
  const dialog = await selectPrinter(screen, name);
  await screen.accessibility.click(dialog, printButton);
  await screen.awaitWindowCount(1);
}

test('a page is printed to a PDF file and gets the print events, but none for a cancelled dialog',
  async (user, screen) => {
    const layout = await user.startWithPage(`${printingPage}<script>
      onbeforeprint = () => report('print', 'before');
      onafterprint = () => report('print', 'after');
    </script>`);
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    await saveScreenshot('print-dialog');
    await user.root.awaitReport('returned');
    await screen.pressKeys('Escape');
    await screen.awaitWindowCount(1);
    await screen.clickElement(layout, 'open');
    await printOn(screen, printToFile);
    const path = join(user.folder, 'output.pdf');
    await waitFor('the complete file', () =>
      existsSync(path) && readFileSync(path, 'latin1').trimEnd().endsWith('%%EOF'));
    assert.deepEqual(pageTexts(path), printedTexts);
    await user.root.awaitReport('print', 2);
    assert.deepEqual(user.root.reported('print'), ['before', 'after']);
  });

/// Opens a page's print dialog with a print server that is closed at the end of the test.
async function openDialogWithPrinter(user, screen) {
  const printServer = await PrintServer.open('Archive');
  user.cleanups.push(() => printServer.close());
  const layout = await user.startWithPage(printingPage, {}, {
    environment: { CUPS_SERVER: printServer.address },
  });
  await screen.clickElement(layout, 'open');
  return printServer;
}

test('a printer gets the pages', async (user, screen) => {
  const printServer = await openDialogWithPrinter(user, screen);
  await printOn(screen, 'Archive');
  await waitFor('a document', () => printServer.documents().length > 0);
  await user.quit();
  await user.awaitProcessesEnded();
  assert.equal(printServer.documents().length, 1);
  assert.deepEqual(pageTexts(printServer.documents()[0]), printedTexts);
});

test('an unresponsive printer does not delay quitting', async (user, screen) => {
  const printServer = await openDialogWithPrinter(user, screen);
  const dialog = await selectPrinter(screen, 'Archive');
  printServer.suspend();
  await screen.accessibility.click(dialog, printButton);
  await screen.awaitWindowCount(1);
});

test('a page that prints in a loop opens one dialog at a time', async (user, screen) => {
  const script = `let count = 0; setInterval(() => { print(); report('count', count += 1); }, 50)`;
  const layout = await user.startWithPage(button('open', script));
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  await user.root.awaitReport('count', 10);
  assert.equal(screen.maxWindowCount, 2);
});

test('the print dialog closes when the page navigates away', async (user, screen) => {
  const routes = { '/other': { page: 'other page' } };
  const layout = await user.startWithPage(`${button('open', 'print(); setInterval(tryToLeave, 50)')}
    <script>
      const tryToLeave = () => fetch('/leave').then(({ ok }) => ok && (location = '/other'));
    </script>`, { routes });
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  user.root.setRoutes({ ...routes, '/leave': {} });
  await user.root.awaitPainted(2);
  await screen.awaitWindowCount(1);
});
