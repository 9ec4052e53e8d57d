// The application as a screen reader sees it, over a private accessibility bus on a private
// session bus.

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

/// Runs an accessibility bus during the body. The body gets the environment that connects the
/// application to it, and a function that returns the accessibles of the open dialog, the
/// dialog first: role, name, description, position in the window, and focus. Without a dialog
/// the list is empty.
export async function withAccessibility(screen, body) {
  if (!launcher) throw new Error('at-spi2-core is not installed');
  await withSessionBus(async (bus) => {
    // WebKit cannot parse a bus address with a space in it.
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
