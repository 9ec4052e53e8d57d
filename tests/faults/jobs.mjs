// The jobs of the application during which faults are injected.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { link } from '../support/desktop/page.mjs';
import { fingerprint, makeRelease, plistValue } from '../support/desktop/release.mjs';
import {
  archivePath, offerRelease, openUpdateServer, updatedNotice,
} from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const file = { headers: { 'content-type': 'text/csv' }, body: 'one;two\n'.repeat(100_000) };
const filePath = '/api/bestand/file';

async function awaitFirstPage({ user, screen }) {
  await user.root.awaitPainted();
  await screen.awaitPageOnScreen();
}

/// `begin` starts the application with the options `context.startOptions` and brings the job to
/// its middle. `finish` completes the job. `assertNothingDone` checks that an aborted job has
/// left nothing. All share the `context`.
export const jobs = {
  starting: {
    async begin({ user, screen, startOptions }) {
      user.start(startOptions);
      await user.root.awaitStarted();
      await screen.awaitWindow();
    },
    finish: awaitFirstPage,
  },

  polling: {
    async begin({ user, screen, startOptions }) {
      user.root.setRoutes({ '/api/wie': { status: 503 } });
      user.start(startOptions);
      await waitFor('probes', () => user.root.requestsTo('/api/wie').length >= 2);
      await screen.awaitWindow();
    },
    async finish(context) {
      context.user.root.setRoutes();
      await awaitFirstPage(context);
    },
  },

  showing: {
    async begin({ user, screen, startOptions }) {
      await user.startAndShowPage(startOptions);
      await screen.awaitPageOnScreen();
    },
    async finish({ user, screen }) {
      await user.reload();
      await screen.awaitPageOnScreen();
      // The page has the focus. Letters typed into a previous page are lost with it.
      await user.typeIntoField('usable');
    },
  },

  downloading: {
    async begin(context) {
      const { user, screen, startOptions } = context;
      context.gate = join(user.folder, 'gate');
      context.desktop = new Desktop(user);
      const layout = await user.startWithPage(link('file', filePath), {
        routes: { [filePath]: { ...file, gate: context.gate } },
      }, startOptions);
      await screen.clickElement(layout, 'file');
      await waitFor('the request', () => user.root.requestsTo(filePath).length === 1);
    },
    async finish({ gate, desktop }) {
      writeFileSync(gate, '');
      assert.ok(await desktop.awaitOpenedFile('file.csv') === file.body, 'the file is complete');
    },
    async assertNothingDone({ desktop }) {
      await waitFor('an empty folder', () => desktop.downloadedFiles().length === 0);
      assert.deepEqual(desktop.opened(), []);
    },
  },

  updating: {
    async begin(context) {
      const { user, startOptions } = context;
      context.gate = join(user.folder, 'gate');
      const server = await openUpdateServer(user);
      context.oldBundle = fingerprint(user.bundle);
      offerRelease(server, '1.1', { body: makeRelease(user), gate: context.gate });
      user.start(startOptions);
      // The silent check finds the release.
      await waitFor('the request', () => server.requestsTo(archivePath).length > 0);
    },
    async finish({ user, screen, gate }) {
      writeFileSync(gate, '');
      await screen.awaitPanel(updatedNotice);
      assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
    },
    assertNothingDone: ({ user, oldBundle }) =>
      assert.equal(fingerprint(user.bundle), oldBundle),
  },

  quitting: {
    async begin({ user, screen, startOptions }) {
      // Long enough to inject a fault; after 3 seconds the application kills the server.
      user.root.setBehaviour({ stopDelay: 2500 });
      await user.startAndShowPage(startOptions);
      await screen.pressKeys('ctrl+q');
      await waitFor('the signal', () => user.root.events('signal').length > 0);
    },
    async finish({ user, run }) {
      await user.awaitCleanExit(run);
      await user.root.awaitServerExit();
    },
  },
};
