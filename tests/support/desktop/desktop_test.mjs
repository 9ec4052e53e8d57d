// The frame around every test: a screen for the file, a user for each test, and
// a look afterwards whether all is gone.

import { mkdirSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test as nodeTest } from 'node:test';

import { PORT, listeners } from './processes.mjs';
import { Screen } from './screen.mjs';
import { User } from './user.mjs';
import { stopWaiting, waitFor } from './wait.mjs';

const pictures = process.env.ORVEL_E2E_SCREENSHOTS;

/// Gives the functions with which one test file declares its tests and keeps
/// pictures of what it sees. `local` false: the file leaves the port alone, and
/// may run beside others.
export function desktopTests({ usesPort = true, ...screenOptions } = {}) {
  let screen;
  let present;

  // Whoever breaks off a test must not have to clean up. Nothing here waits, for
  // the test runner ends the process too; and it hands every signal on, so that
  // the same one comes twice.
  for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
    process.on(signal, () => {
      present?.killAll();
      screen?.end();
      present?.removeFolder();
      if (screen) rmSync(screen.folder, { recursive: true, force: true });
      process.exit(1);
    });
  }

  before(async () => {
    if (usesPort && listeners()) {
      throw new Error(`port ${PORT} must be free for these tests; it is held by ${listeners()}`);
    }
    screen = await Screen.open(screenOptions);
  });
  after(() => screen?.close());

  /// Keeps the present picture for people, when they asked for pictures.
  async function saveScreenshot(name) {
    if (!pictures) return;
    mkdirSync(pictures, { recursive: true });
    await screen.saveScreenshot(join(pictures, `${name.replace(/[^\w-]+/g, '-')}.png`));
  }

  /// Declares a test. Its body gets the user and the screen, and must leave the
  /// application ended.
  function test(name, options, body) {
    const { timeout = 60_000, skip = false, ...userOptions } = options;
    nodeTest(name, { timeout, skip }, async (t) => {
      const user = new User(screen, userOptions);
      present = user;
      try {
        await body(user, screen, t);
        await user.assertNothingLeft();
        if (usesPort) await waitFor('a free port', () => !listeners());
      } catch (error) {
        await saveScreenshot(`failed ${name}`);
        const output = user.runs.map((run) => run.output).join('');
        if (output) t.diagnostic(`the application said: ${output}`);
        throw error;
      } finally {
        stopWaiting(null);
        await user.remove();
      }
    });
  }

  return { test, saveScreenshot };
}
