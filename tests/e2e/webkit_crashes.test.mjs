// WebKit's network process dies: Herlaad loads the page again.

import assert from 'node:assert/strict';
import { join } from 'node:path';
import { writeFileSync } from 'node:fs';

import { pageColour } from '../support/desktop/page.mjs';
import { isRunning, kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// How the server responds to the reload during which the process dies.
const replies = {
  'has no reply yet': () => ({ noReply: true }),
  'was reset': () => ({ reset: true }),
  'is half there': (gate) => ({ body: 'text '.repeat(100_000), gate }),
};

for (const [name, reply] of Object.entries(replies)) {
  test(`reload that ${name}: the page comes back when the network process has died`, {},
    async (user, screen) => {
      user.root.setBehaviour({ live: true });
      await user.startAndShowPage();
      await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
      const [{ pid }] = user.processesNamed('WebKitNetworkProcess');

      const gate = join(user.folder, 'gate');
      user.root.setBehaviour({ live: true, routes: { '/': reply(gate) } });
      await screen.pressKeys('ctrl+r');
      await waitFor('the reload', () => user.root.requests('/').length >= 2);
      kill(pid);
      await waitFor('the end of the network process', () => !isRunning(pid));
      writeFileSync(gate, '');

      user.root.setBehaviour({ live: true });
      // WebKit fails a load that begins before the page's process has noticed the
      // death (internallyFailedLoadTimerFired); the user presses again.
      await waitFor('the page again', async () => {
        await screen.pressKeys('ctrl+r');
        return waitFor('the page', () => user.root.reported('painted').length >= 2, { timeout: 5000 })
          .then(() => true, () => false);
      }, { timeout: 40_000 });
      await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
      await waitFor('the letters in the field', async () => {
        await screen.type('usable');
        return user.root.reported('field').at(-1)?.value.includes('usable');
      }, { every: 500 });
      assert.equal(user.root.events('started').length, 1, 'the server was not restarted');
      await user.quit();
    });
}
