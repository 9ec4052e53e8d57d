// Who may keep the port, and who has to leave it.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { join } from 'node:path';

import { DataRoot } from '../support/desktop/data_root.mjs';
import { PORT, isRunning, kill, listeners } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const inUse =
  'Orvel OS\nDe OS-server is gestopt (code 1). Zie ~/orvel-os/v3/.local/server.log. ' +
  'Herstarten met ⌘R.';

/// Runs node with these arguments until the test is over, once it listens.
async function holdingThePort(args, body) {
  const holder = spawn(process.execPath, args, {
    env: { PATH: process.env.PATH, PORT: String(PORT) },
    stdio: 'ignore',
  });
  try {
    await waitFor('somebody on the port', () => listeners());
    await body(holder);
  } finally {
    kill(holder.pid);
    await waitFor('the end of the holder', () => !isRunning(holder.pid));
  }
}

test('a server left behind by an earlier run of this data root is stopped', {}, async (user) => {
  // It takes its time, and the new one must wait for the port.
  user.root.setBehaviour({ stopDelay: 800 });
  await holdingThePort([user.root.script], async (stale) => {
    user.root.setBehaviour({});
    await user.startAndShowPage();
    assert.ok(!isRunning(stale.pid));
    const [first, second] = user.root.events('started');
    assert.equal(first.pid, stale.pid);
    assert.notEqual(second.pid, stale.pid);
    assert.equal(user.root.events('signal')[0].signal, 'SIGTERM');
    // All that the page asked, the new server answered.
    const askers = new Set(user.root.events('request').map(({ pid }) => pid));
    assert.deepEqual([...askers], [second.pid]);
    await user.quit();
  });
});

test('a server left behind on a non-ASCII path is stopped in a session without a locale', {},
  async (user) => {
    user.root = new DataRoot(join(user.folder, 'données €'));
    await holdingThePort([user.root.script], async (stale) => {
      await user.startAndShowPage({ environment: {
        ORVEL_OS_ROOT: user.root.path, LC_ALL: '', LC_CTYPE: undefined, LANG: undefined,
      } });
      assert.ok(!isRunning(stale.pid));
      assert.equal(user.root.events('started').length, 2);
      await user.quit();
    });
  });

test('a program that is no OS server keeps the port', {}, async (user, screen) => {
  const program =
    "require('http').createServer((q, a) => a.writeHead(404).end()).listen(4767, '127.0.0.1')";
  await holdingThePort(['-e', program], async (foreign) => {
    user.start();
    await user.root.awaitServerExit();
    assert.equal(await screen.awaitPageText((page) => page.includes('gestopt')), inUse);
    assert.ok(isRunning(foreign.pid));
    await user.quit();
    assert.ok(isRunning(foreign.pid));
  });
});

test('the OS server of another data root keeps the port', {}, async (user, screen) => {
  const other = new DataRoot(join(user.folder, 'andere gegevens'), { failedProbes: 1000 });
  await holdingThePort([other.script], async (foreign) => {
    user.start();
    await user.root.awaitServerExit();
    assert.equal(await screen.awaitPageText((page) => page.includes('gestopt')), inUse);
    assert.ok(isRunning(foreign.pid));
    assert.deepEqual(other.events('signal'), []);
    await user.quit();
    await saveScreenshot('port');
  });
});
