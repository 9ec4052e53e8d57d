// A second start while the application runs.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { alive, kill } from './harness/processes.mjs';
import { trialsOn } from './harness/trial.mjs';
import { waitFor } from './harness/wait.mjs';

const { trial } = trialsOn();

/// Runs a session bus without any service for as long as the body takes.
async function onSessionBus(body) {
  // Without a blank in the name, which WebKit does not understand in an address.
  const folder = mkdtempSync(join(tmpdir(), 'orvel-e2e-bus-'));
  const configuration = join(folder, 'bus.conf');
  writeFileSync(configuration, `<!DOCTYPE busconfig PUBLIC
    "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
    "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
    <busconfig>
      <type>session</type>
      <listen>unix:path=${folder}/bus</listen>
      <policy context="default">
        <allow send_destination="*" eavesdrop="true"/>
        <allow eavesdrop="true"/>
        <allow own="*"/>
      </policy>
    </busconfig>`);
  const options = [`--config-file=${configuration}`, '--nofork', '--print-address'];
  const bus = spawn('dbus-daemon', options, { stdio: ['ignore', 'pipe', 'ignore'] });
  let address = '';
  bus.stdout.on('data', (text) => (address += text));
  try {
    await waitFor('a session bus', () => address.endsWith('\n'));
    await body({ DBUS_SESSION_BUS_ADDRESS: address.trim() });
  } finally {
    kill(bus.pid);
    await waitFor('the end of the bus', () => !alive(bus.pid));
    rmSync(folder, { recursive: true });
  }
}

trial('a second start raises the first window and starts nothing', {}, async (user, screen) => {
  await onSessionBus(async (environment) => {
    const first = await user.startAndPaint({ environment });
    const window = await screen.window();
    await screen.keys('ctrl+m');
    await waitFor('a minimised window', async () =>
      /Iconic/.test(await screen.property(window, 'WM_STATE')));

    const second = user.start({ environment });
    assert.equal((await user.ended(second)).code, 0);
    await waitFor('the first window', async () =>
      /Normal/.test(await screen.property(window, 'WM_STATE')));
    assert.equal(await screen.managedWindows(), 1);
    assert.equal(user.root.events('started').length, 1);
    assert.equal(first.ended, null);

    await user.quit(first);
    // The name is free again.
    await user.startAndPaint({ environment });
    await user.quit();
  });
});

trial('without a session bus each start runs alone', {}, async (user, screen) => {
  const first = await user.startAndPaint();
  const second = await user.startAndPaint();
  await waitFor('two windows', async () => (await screen.managedWindows()) === 2);
  assert.equal(first.ended, null);
  for (const run of [second, first]) {
    kill(run.pid, 'SIGTERM');
    assert.equal((await user.ended(run)).code, 0);
  }
});
