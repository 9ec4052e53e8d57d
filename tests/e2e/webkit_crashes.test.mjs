// The application recovers when a process of WebKit dies.

import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { isRunning, kill } from '../support/desktop/processes.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

test('the page is loaded again when the web process is killed', async (user, screen) => {
  await user.startAndShowPage();
  for (const round of [1, 2]) {
    const before = user.processesNamed('WebKitWebProcess');
    assert.equal(before.length, 1);
    kill(before[0].pid);
    await user.root.awaitPainted(round + 1);
    await screen.awaitPage();
  }
  assert.equal(user.root.events('started').length, 1, 'the server was not restarted');
  assert.equal(user.root.requests('/api/wie').length, 1);

  // The new page has the focus.
  await screen.type('abc');
  await user.root.awaitFieldText('abc');
  await user.quit();
});

test('the error page is shown again when the web process is killed', { behaviour: null },
  async (user, screen) => {
    user.start();
    const isErrorPage = (page) => page.startsWith('Orvel OS\nDeze Mac');
    const text = await screen.awaitPageText(isErrorPage);
    kill(user.processesNamed('WebKitWebProcess')[0].pid);
    assert.equal(await screen.awaitPageText(isErrorPage), text);
    await user.quit();
  });

/// The responses to the reload during which the network process dies.
const responses = {
  'has no response yet': () => ({ noReply: true }),
  'was reset': () => ({ reset: true }),
  'is half received': (gate) => ({ body: 'text '.repeat(100_000), gate }),
};

for (const [situation, response] of Object.entries(responses)) {
  test(`Control-R recovers when the network process dies during a load that ${situation}`,
    { behaviour: { live: true } }, async (user, screen) => {
      await user.startAndShowPage();
      await screen.awaitPage();
      const [{ pid }] = user.processesNamed('WebKitNetworkProcess');

      const gate = join(user.folder, 'gate');
      user.root.setBehaviour({ live: true, routes: { '/': response(gate) } });
      await screen.pressKeys('ctrl+r');
      await waitFor('the reload', () => user.root.requests('/').length >= 2);
      kill(pid);
      await waitFor('the end of the network process', () => !isRunning(pid));
      writeFileSync(gate, '');

      user.root.setBehaviour({ live: true });
      // WebKit fails a load that begins before the web process has noticed the crash
      // (internallyFailedLoadTimerFired), so the key may be pressed more than once.
      await waitFor('the page again', async () => {
        await screen.pressKeys('ctrl+r');
        return waitFor('the page', () => user.root.reported('painted').length >= 2,
          { timeout: 5000 }).then(() => true, () => false);
      }, { timeout: 40_000 });
      await screen.awaitPage();
      await waitFor('the letters in the field', async () => {
        await screen.type('usable');
        return user.root.reported('field').at(-1)?.value.includes('usable');
      }, { every: 500 });
      assert.equal(user.root.events('started').length, 1, 'the server was not restarted');
      await user.quit();
    });
}
