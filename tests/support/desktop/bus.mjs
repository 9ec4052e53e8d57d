// Private D-Bus buses: the session bus and the accessibility bus.

import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { isRunning, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

/// Starts a bus. `services` is the folder with the descriptions of the services that the bus starts
/// on demand. Returns the address, the process, and a function that closes the bus.
export async function openBus({ services, environment = process.env } = {}) {
  // Unlike other folders of the tests, this one has no spaces in its name, because WebKit cannot
  // parse a bus address with a space.
  const folder = mkdtempSync(join(tmpdir(), 'orvel-e2e-bus-'));
  const address = `unix:path=${folder}/bus`;
  const configuration = join(folder, 'bus.conf');
  writeFileSync(configuration, `<!DOCTYPE busconfig PUBLIC
    "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
    "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
    <busconfig>
      <type>session</type>
      <listen>${address}</listen>
      ${services ? `<servicedir>${services}</servicedir>` : ''}
      <policy context="default">
        <allow send_destination="*" eavesdrop="true"/>
        <allow eavesdrop="true"/>
        <allow own="*"/>
      </policy>
    </busconfig>`);
  const options = [`--config-file=${configuration}`, '--nofork', '--print-address'];
  const bus = spawn('dbus-daemon', options, {
    // For the accessibility registry, which is a service of the accessibility bus.
    env: { ...environment, AT_SPI_BUS_ADDRESS: address },
    stdio: ['ignore', 'pipe', 'ignore'],
  });
  let isReady = false;
  bus.stdout.once('data', () => (isReady = true));
  await waitFor('the address of the bus', () => isReady);
  return {
    address,
    process: bus,
    async close() {
      kill(bus.pid);
      await waitFor('the end of the bus', () => !isRunning(bus.pid));
      rmSync(folder, { recursive: true });
    },
  };
}

/// Runs a session bus without services during the body. The body gets the environment variable
/// with the address of the bus, and the process of the bus.
export async function withSessionBus(body) {
  const bus = await openBus();
  try {
    await body({ DBUS_SESSION_BUS_ADDRESS: bus.address }, bus.process);
  } finally {
    await bus.close();
  }
}
