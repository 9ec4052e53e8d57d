// The jobs of the application during which process_faults.test.mjs injects faults.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { link } from '../support/desktop/page.mjs';
import { fingerprint, makeRelease } from '../support/desktop/release.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';
import {
  archivePath, offerRelease, updatedNotice, useUpdateServer,
} from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const csv = csvRoute('one;two\n'.repeat(100_000));
// Links to paths below /api/bestand/ are downloaded. The media type gives the extension.
const filePath = '/api/bestand/file';

async function awaitFirstPage({ user, screen }) {
  await user.localServer.awaitPainted();
  await screen.awaitPageOnScreen();
}

/// Each job has these functions. They share the `context`, which contains `user`, `screen` and
/// `startOptions`, and after `begin` also `run`, the process of the application:
///   begin               starts the application with `context.startOptions` (of user.start()), and
///                       brings the job to its middle
///   finish              completes the job
///   assertRolledBack    optional; fails if the aborted job has left a file or a changed bundle
export const jobs = {
  starting: {
    async begin({ user, screen, startOptions }) {
      user.start(startOptions);
      await user.localServer.awaitStarted();
      await screen.awaitWindow();
    },
    finish: awaitFirstPage,
  },

  polling: {
    async begin({ user, screen, startOptions }) {
      user.localServer.setRoutes({ '/api/wie': { status: 503 } });
      user.start(startOptions);
      await user.localServer.awaitRequest('/api/wie', 2);
      await screen.awaitWindow();
    },
    async finish(context) {
      context.user.localServer.setRoutes();
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
      // Shows that the reloaded page takes input.
      await user.typeIntoField('usable');
    },
  },

  downloading: {
    async begin(context) {
      const { user, screen, startOptions } = context;
      context.desktop = new Desktop(user);
      const layout = await user.startWithPage(link('file', filePath),
        { [filePath]: { ...csv, gate: user.gate } }, startOptions);
      await screen.clickElement(layout, 'file');
      await user.localServer.awaitRequest(filePath);
    },
    async finish({ user, desktop }) {
      writeFileSync(user.gate, '');
      const text = await desktop.awaitOpenedFile('file.csv');
      assert.ok(text === csv.body, 'the file is complete');
    },
    async assertRolledBack({ desktop }) {
      await waitFor('an empty Downloads folder', () => desktop.downloadedFiles().length === 0);
      assert.deepEqual(desktop.opened(), []);
    },
  },

  updating: {
    async begin(context) {
      const { user, startOptions } = context;
      const server = await useUpdateServer(user);
      context.oldBundle = fingerprint(user.bundle);
      offerRelease(server, '1.1', { body: makeRelease(user), gate: user.gate });
      user.start(startOptions);
      // The silent check for updates after the start finds the release.
      await server.awaitRequest(archivePath);
    },
    async finish({ user, screen }) {
      writeFileSync(user.gate, '');
      await screen.awaitPanel(updatedNotice);
      assert.equal(user.installedVersion(), '1.1');
    },
    assertRolledBack: ({ user, oldBundle }) =>
      assert.equal(fingerprint(user.bundle), oldBundle),
  },

  quitting: {
    async begin({ user, screen, startOptions }) {
      // Long enough to inject a fault. After 3 seconds the application would kill the server.
      user.localServer.setBehaviour({ stopDelay: 2500 });
      await user.startAndShowPage(startOptions);
      await screen.pressKeys('ctrl+q');
      await waitFor('SIGTERM at the server', () => user.localServer.events('signal').length > 0);
    },
    async finish({ user, run }) {
      await user.awaitCleanExit(run);
      await user.localServer.awaitServerExit();
    },
  },
};
