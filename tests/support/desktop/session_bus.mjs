// A private D-Bus session bus.

import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { isRunning, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

/// Runs a session bus without services during the body, which gets the environment variable
/// with its address, and its process.
export async function withSessionBus(body) {
  // WebKit cannot parse a bus address with a space in it.
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
    await body({ DBUS_SESSION_BUS_ADDRESS: address.trim() }, bus);
  } finally {
    kill(bus.pid);
    await waitFor('the end of the bus', () => !isRunning(bus.pid));
    rmSync(folder, { recursive: true });
  }
}
