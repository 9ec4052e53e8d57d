// The jobs of the application. Each is brought to its middle, where a fault can
// strike, and then to its ordinary end.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../../support/desktop/default_apps.mjs';
import { OnlineServer } from '../../support/desktop/online_server.mjs';
import { pageColour } from '../../support/desktop/page.mjs';
import { plistValue, fingerprint, makeRelease, releaseRoutes } from '../../support/desktop/release.mjs';
import { updatedNotice } from '../../support/desktop/updates.mjs';
import { waitFor } from '../../support/desktop/wait.mjs';
import { endedWell } from './invariants.mjs';

const file = { headers: { 'content-type': 'text/csv' }, body: 'een;twee\n'.repeat(100_000) };
const page = '<input id="field" autocomplete="off"><a id="los" href="/api/bestand/los">los</a>';

const refusing = { live: true, routes: { '/api/wie': { status: 503 } } };

async function shows(scene) {
  await waitFor('the page on the screen', () => scene.screen.screenshot().shows(pageColour));
}

/// What each job needs: `begin` brings a scene (user, screen, how to start) to
/// the job's middle and keeps the run in it; `enter` is the part of that which lasts
/// too short a time to begin to watch the application after it; `finish` sees it through.
export const jobs = {
  starting: {
    async begin(scene) {
      scene.run = scene.user.start(scene.options);
      await scene.user.root.awaitStarted();
      await scene.screen.awaitWindow();
    },
    async finish(scene) {
      await scene.user.root.awaitPainted(1);
      await shows(scene);
    },
  },

  polling: {
    async begin(scene) {
      scene.user.root.setBehaviour(refusing);
      scene.run = scene.user.start(scene.options);
      await waitFor('probes', () => scene.user.root.requests('/api/wie').length >= 2);
      await scene.screen.awaitWindow();
    },
    async finish(scene) {
      scene.user.root.setBehaviour({ live: true });
      await scene.user.root.awaitPainted(1);
      await shows(scene);
    },
  },

  showing: {
    async begin(scene) {
      scene.run = await scene.user.startAndShowPage(scene.options);
    },
    async finish(scene) {
      // Where the page was loaded again by itself, it was painted once more.
      const before = scene.user.root.requests('/').length;
      await scene.screen.pressKeys('ctrl+r');
      await waitFor('the page again', () => scene.user.root.requests('/').length > before);
      await scene.user.root.awaitPainted(scene.user.root.requests('/').length);
      await shows(scene);
    },
  },

  downloading: {
    async begin(scene) {
      const { user, screen } = scene;
      scene.gate = join(user.folder, 'verder');
      scene.desktop = new Desktop(user);
      const layout = await user.startWithPage(page, {
        routes: { '/api/bestand/los': { ...file, gate: scene.gate } },
      }, scene.options);
      scene.run = user.runs.at(-1);
      await screen.clickElement(layout, 'los');
      await waitFor('the request', () => user.root.requests('/api/bestand/los').length === 1);
    },
    async finish(scene) {
      writeFileSync(scene.gate, '');
      const text = await scene.desktop.awaitFile('los.csv');
      assert.ok(text === file.body, 'the whole file');
    },
    /// The job was broken off.
    async nothingCame(scene) {
      await waitFor('an empty folder', () => scene.desktop.files().length === 0);
      assert.deepEqual(scene.desktop.opened(), []);
    },
  },

  updating: {
    online: true,
    async begin(scene) {
      const { user, screen } = scene;
      scene.gate = join(user.folder, 'verder');
      const routes = {};
      scene.server = await OnlineServer.open({ routes });
      const { address } = scene.server;
      user.setPlistValues({ ORVELOSURL: address, CFBundleShortVersionString: '1.0' });
      scene.old = fingerprint(user.bundle);
      Object.assign(routes, releaseRoutes('1.1', { body: makeRelease(user), gate: scene.gate }));
      scene.run = user.start(scene.options);
      await scene.server.awaitPainted();
      await screen.chooseApplicationItem(1);
      await waitFor('the request', () => scene.server.requestsTo('/download/orvel-os.zip').length > 0);
    },
    async finish(scene) {
      writeFileSync(scene.gate, '');
      await scene.screen.awaitPanel(updatedNotice);
      assert.equal(plistValue(scene.user.bundle, 'CFBundleShortVersionString'), '1.1');
    },
    async nothingCame(scene) {
      assert.equal(fingerprint(scene.user.bundle), scene.old);
    },
  },

  quitting: {
    async begin(scene) {
      const { user } = scene;
      user.root.setBehaviour({ stopDelay: 800 });
      scene.run = await user.startAndShowPage(scene.options);
      scene.pages = user.root.reported('painted').length;
    },
    async enter({ user, screen }) {
      await screen.pressKeys('ctrl+q');
      await waitFor('the stop', () => user.root.events('signal').length > 0);
    },
    async finish(scene) {
      await endedWell(scene.user, scene.run);
      await scene.user.root.awaitServerExit();
    },
  },
};
