// The jobs of the application during which faults are injected.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../../support/desktop/default_apps.mjs';
import {
  fingerprint, makeRelease, plistValue, releaseRoutes,
} from '../../support/desktop/release.mjs';
import { updatedNotice } from '../../support/desktop/updates.mjs';
import { waitFor } from '../../support/desktop/wait.mjs';

const file = { headers: { 'content-type': 'text/csv' }, body: 'one;two\n'.repeat(100_000) };
const filePath = '/api/bestand/file';
const archivePath = '/download/orvel-os.zip';

/// `begin` starts the application and brings the job to its middle; `enter` does the part
/// of it that is too short to start pinging afterwards. `finish` completes the job.
/// `assertNothingDone` checks that an aborted job has left nothing.
export const jobs = {
  starting: {
    async begin(scenario) {
      scenario.start();
      await scenario.root.awaitStarted();
      await scenario.screen.awaitWindow();
    },
    async finish(scenario) {
      await scenario.root.awaitPainted(1);
      await scenario.screen.awaitPage();
    },
  },

  polling: {
    async begin(scenario) {
      scenario.setRoutes({ '/api/wie': { status: 503 } });
      scenario.start();
      await waitFor('probes', () => scenario.root.requests('/api/wie').length >= 2);
      await scenario.screen.awaitWindow();
    },
    async finish(scenario) {
      scenario.setRoutes();
      await scenario.root.awaitPainted(1);
      await scenario.screen.awaitPage();
    },
  },

  showing: {
    async begin(scenario) {
      await scenario.startAndShowPage();
    },
    async finish(scenario) {
      // A page that WebKit has reloaded after a crash has been painted once more.
      const requests = () => scenario.root.requests('/').length;
      const before = requests();
      await scenario.screen.pressKeys('ctrl+r');
      await waitFor('the reload', () => requests() > before);
      await scenario.root.awaitPainted(requests());
      await scenario.screen.awaitPage();
    },
  },

  downloading: {
    async begin(scenario) {
      const { user, screen, root } = scenario;
      scenario.gate = join(user.folder, 'gate');
      scenario.desktop = new Desktop(user);
      const layout = await scenario.startWithPage(`<a id="file" href="${filePath}">file</a>`, {
        routes: { [filePath]: { ...file, gate: scenario.gate } },
      });
      await screen.clickElement(layout, 'file');
      await waitFor('the request', () => root.requests(filePath).length === 1);
    },
    async finish({ gate, desktop }) {
      writeFileSync(gate, '');
      const text = await desktop.awaitFile('file.csv');
      assert.ok(text === file.body, 'the file is complete');
    },
    async assertNothingDone({ desktop }) {
      await waitFor('an empty folder', () => desktop.files().length === 0);
      assert.deepEqual(desktop.opened(), []);
    },
  },

  updating: {
    async begin(scenario) {
      const { user } = scenario;
      scenario.gate = join(user.folder, 'gate');
      const routes = {};
      scenario.server = await user.openOnlineServer({ routes });
      const { address } = scenario.server;
      user.setPlistValues({ ORVELOSURL: address, CFBundleShortVersionString: '1.0' });
      scenario.oldBundle = fingerprint(user.bundle);
      Object.assign(routes, releaseRoutes('1.1', { body: makeRelease(user), gate: scenario.gate }));
      scenario.start();
      // The silent check finds the release.
      await waitFor('the request', () => scenario.server.requestsTo(archivePath).length > 0);
    },
    async finish({ user, screen, gate }) {
      writeFileSync(gate, '');
      await screen.awaitPanel(updatedNotice);
      assert.equal(plistValue(user.bundle, 'CFBundleShortVersionString'), '1.1');
    },
    async assertNothingDone({ user, oldBundle }) {
      assert.equal(fingerprint(user.bundle), oldBundle);
    },
  },

  quitting: {
    async begin(scenario) {
      // Long enough to inject a fault; after 3 seconds the application kills the server.
      scenario.root.setBehaviour({ stopDelay: 2500 });
      await scenario.startAndShowPage();
    },
    async enter({ screen, root }) {
      await screen.pressKeys('ctrl+q');
      await waitFor('the signal', () => root.events('signal').length > 0);
    },
    async finish({ user, run, root }) {
      await user.awaitCleanExit(run);
      await root.awaitServerExit();
    },
  },
};
