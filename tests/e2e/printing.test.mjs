import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button } from '../support/desktop/page.mjs';
import { PrintServer } from '../support/desktop/print_server.mjs';
import { repeatUntil, waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

const printedTexts = ['page one', 'page two', 'page three'];
/// A page that prints itself on three sheets.
const printingPage = `${button('open', "print(); report('returned')")}<style>
    @media print { html, body { height: auto; overflow: visible; } button { display: none; } }
    p { break-after: page; margin: 0; }
  </style><p>${printedTexts[0]}</p><p>${printedTexts[1]}</p><div>${printedTexts[2]}</div>`;

/// Waits until a PDF file is complete and returns the text of each page.
async function awaitPageTexts(path) {
  await waitFor('the complete PDF file', () =>
    existsSync(path) && readFileSync(path, 'latin1').trimEnd().endsWith('%%EOF'));
  const text = execFileSync('pdftotext', ['-layout', path, '-'], { encoding: 'utf8' });
  // pdftotext ends each page with a form feed.
  return text.split('\f').slice(0, -1).map((page) => page.trim().replace(/\s+/g, ' '));
}

/// The properties of the button that prints, which is enabled once GTK has the details of the
/// selected printer. GTK 4.8 names the button "_Print Print": its label with and without the
/// underscore that marks the access key.
const printButton = { role: /button/, name: /Print$/, enabled: true };

/// Selects a printer in the list of the print dialog and waits for its details. Returns the
/// dialog's window ID. The list ignores clicks at first.
async function selectPrinter(screen, name) {
  const { accessibility } = screen;
  const dialog = await screen.awaitSecondWindow();
  await repeatUntil(`the details of the printer "${name}"`,
    () => accessibility.click(dialog, { role: 'label', name }),
    () => accessibility.findWidget(printButton));
  return dialog;
}

/// Clicks the button that prints until the print dialog is closed. The button may move while the
/// dialog is laid out for the selected printer.
async function confirmPrintDialog(screen, dialog) {
  await repeatUntil('a closed print dialog', () => screen.accessibility.click(dialog, printButton),
    async () => (await screen.windowCount()) === 1, { interval: 10_000 });
}

test('a page is printed to a PDF file, and a cancelled print dialog fires no print event',
  async (user, screen) => {
    const layout = await user.startWithPage(`${printingPage}<script>
      onbeforeprint = () => report('print', 'before');
      onafterprint = () => report('print', 'after');
    </script>`);
    await screen.clickElement(layout, 'open');
    await screen.awaitSecondWindow();
    // print() does not wait for the dialog.
    await user.localServer.awaitReport('returned');
    await screen.pressKeys('Escape');
    await screen.awaitWindowCount(1);
    await screen.clickElement(layout, 'open');
    await confirmPrintDialog(screen, await selectPrinter(screen, 'Print to File'));
    // GTK's default name, in the working folder of the application.
    assert.deepEqual(await awaitPageTexts(join(user.folder, 'output.pdf')), printedTexts);
    await user.localServer.awaitReport('print', 2);
    assert.deepEqual(user.localServer.reported('print'), ['before', 'after']);
  });

test('a printer gets the pages, and the application quits while it no longer responds',
  async (user, screen) => {
    const queue = 'Archive';
    const printServer = await PrintServer.open(queue);
    user.cleanups.push(() => printServer.close());
    const layout = await user.startWithPage(printingPage, {}, {
      environment: { CUPS_SERVER: printServer.address },
    });
    await screen.clickElement(layout, 'open');
    await confirmPrintDialog(screen, await selectPrinter(screen, queue));
    const document = await waitFor('a document', () => printServer.documents()[0]);
    assert.deepEqual(await awaitPageTexts(document), printedTexts);

    await screen.clickElement(layout, 'open');
    const dialog = await selectPrinter(screen, queue);
    printServer.suspend();
    await confirmPrintDialog(screen, dialog);
    await user.quit();
    await user.awaitProcessesEnded();
    assert.equal(printServer.documents().length, 1, 'the printer has only the first document');
  });

test('a page that prints in a loop opens one dialog at a time', async (user, screen) => {
  const script = `let count = 0; setInterval(() => { print(); report('count', count += 1); }, 50)`;
  const layout = await user.startWithPage(button('open', script));
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  await user.localServer.awaitReport('count', 10);
  assert.equal(screen.maxWindowCount, 2);
});

test('the print dialog closes when the page navigates away', async (user, screen) => {
  // The page leaves once the server has a route for /leave, which is after the dialog has opened.
  const routes = { '/other': { page: 'other page' } };
  const layout = await user.startWithPage(`${button('open', 'print(); setInterval(tryToLeave, 50)')}
    <script>
      const tryToLeave = () => fetch('/leave').then(({ ok }) => ok && (location = '/other'));
    </script>`, routes);
  await screen.clickElement(layout, 'open');
  await screen.awaitSecondWindow();
  user.localServer.setRoutes({ ...routes, '/leave': {} });
  await user.localServer.awaitPainted(2);
  await screen.awaitWindowCount(1);
});
