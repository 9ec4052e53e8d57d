// What the user sees when there is no server or it stops, and the way out.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, symlinkSync, writeFileSync } from 'node:fs';
import { spawnSync } from 'node:child_process';
import { join } from 'node:path';

import { kill, listeners } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const stopped = (code) =>
  `De OS-server is gestopt (code ${code}). Zie ~/orvel-os/v3/.local/server.log. ` +
  'Herstarten met ⌘R.';

/// Waits for an error page and compares its text to the last character.
async function errorPageSays(screen, message) {
  const text = await screen.awaitPageText((page) => page.endsWith(message));
  assert.equal(text, `Orvel OS\n${message}`);
}

test('without a server script the page tells that there is no OS', { behaviour: null },
  async (user, screen) => {
    const run = user.start();
    await screen.awaitWindow();
    const message =
      'Deze Mac heeft het OS niet. Kies Orvel OS → Serveradres… en vul het online adres in.';
    await errorPageSays(screen, message);
    await saveScreenshot('error-no-os');

    // The way out works from here: the script appears, Control-R opens the OS.
    user.root.install();
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted();
    await user.quit(run);
  });

test('a server that exits 1 is reported, and Control-R starts it again',
  { behaviour: { exitCode: 1 } }, async (user, screen) => {
    user.start();
    await user.root.awaitServerExit();
    await errorPageSays(screen, stopped(1));
    await saveScreenshot('error-exit');
    assert.deepEqual(user.root.events('request'), []);

    user.root.setBehaviour({});
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted();
    assert.equal(user.root.events('started').length, 2);
    await user.quit();
  });

test('a killed server is reported with its signal; Control-R restarts it, then reloads', {},
  async (user, screen) => {
    await user.startAndShowPage();
    kill((await user.root.awaitStarted()).pid);
    await errorPageSays(screen, stopped(9));

    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(2);
    assert.equal(user.root.events('started').length, 2);
    const probes = user.root.requests('/api/wie').length;

    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(3);
    assert.equal(user.root.events('started').length, 2, 'a running server is not started again');
    assert.equal(user.root.requests('/api/wie').length, probes, 'nor probed again');
    await user.quit();
  });

test('a server that first answers 401 is asked again until it answers 200',
  { behaviour: { failedProbes: 3 } }, async (user) => {
    await user.startAndShowPage();
    const probes = user.root.requests('/api/wie');
    assert.equal(probes.length, 4);
    for (const [index, { time }] of probes.entries()) {
      if (index > 0) assert.ok(time - probes[index - 1].time >= 240, 'a pause before each');
    }
    const [page] = user.root.requests('/');
    assert.ok(page.time >= probes.at(-1).time);
    await user.quit();
  });

/// A folder with what the application's shell needs, and no node.
function toolsWithoutNode(user) {
  const folder = join(user.folder, 'tools');
  mkdirSync(folder);
  for (const name of ['lsof', 'ps', 'zsh']) {
    const { stdout } = spawnSync('sh', ['-c', `command -v ${name}`], { encoding: 'utf8' });
    symlinkSync(stdout.trim(), join(folder, name));
  }
  return folder;
}

const fixed = ['/usr/local/bin/node', '/opt/homebrew/bin/node'].find(existsSync);
const skip = fixed ? `${fixed} exists on this machine and would be taken` : false;

test('without node the launch error is shown and nothing is asked', { skip },
  async (user, screen) => {
    user.start({ environment: { PATH: toolsWithoutNode(user) } });
    const text = await screen.awaitPageText((page) => page.includes('Kon node'));
    assert.match(text, /^Orvel OS\nKon node niet starten: \S.*$/);
    await saveScreenshot('error-no-node');
    assert.deepEqual(user.root.record(), []);
    assert.equal(listeners(), '');
    await user.quit();
  });

test("node is found on the search path of the user's own shell", { skip }, async (user) => {
  const own = join(user.home, 'eigen programma’s');
  mkdirSync(own);
  symlinkSync(process.execPath, join(own, 'node'));
  writeFileSync(join(user.home, '.zprofile'), `echo lawaai\npath+=("${own}")\n`);
  await user.startAndShowPage({ environment: { PATH: toolsWithoutNode(user) } });
  const { argv } = await user.root.awaitStarted();
  assert.equal(argv[1], user.root.script);
  await waitFor('both words in the log', () => existsSync(user.root.log));
  await user.quit();
});
