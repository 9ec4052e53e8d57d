// The application as a screen reader sees it, over a private accessibility bus on a
// private session bus.

import { execFile, spawn } from 'node:child_process';
import { existsSync } from 'node:fs';
import { promisify } from 'node:util';

import { isRunning, kill } from './processes.mjs';
import { withSessionBus } from './session_bus.mjs';
import { waitFor } from './wait.mjs';

const run = promisify(execFile);

const reader = process.env.ORVEL_ACCESSIBLE_DIALOG;
if (!reader || !existsSync(reader)) {
  throw new Error('ORVEL_ACCESSIBLE_DIALOG does not name a program');
}

const launcher = ['/usr/libexec/at-spi-bus-launcher', '/usr/lib/at-spi2-core/at-spi-bus-launcher']
  .find((path) => existsSync(path));

/// Runs the accessibility bus for as long as the body takes. The body gets the
/// environment in which the application joins it, and a function that returns the
/// accessibles of the open dialog, itself first: role, name, description, place in
/// the window, and whether it has the focus. Without a dialog there are none.
export async function withAccessibility(screen, body) {
  if (!launcher) throw new Error('at-spi2-core is not installed');
  await withSessionBus(async (bus) => {
    // WebKit finds a bus only on a path without spaces.
    const [, folder] = /unix:path=(.*)\/bus/.exec(bus.DBUS_SESSION_BUS_ADDRESS);
    const environment = { ...screen.environment, ...bus, XDG_RUNTIME_DIR: folder };
    const child = spawn(launcher, ['--launch-immediately'], { env: environment, stdio: 'ignore' });
    const read = async () => JSON.parse((await run(reader, { env: environment })).stdout);
    try {
      await waitFor('the accessibility bus', () => read().catch(() => null));
      await body(bus, read);
    } finally {
      kill(child.pid, 'SIGTERM');
      await waitFor('the end of the accessibility bus', () => !isRunning(child.pid));
    }
  });
}
