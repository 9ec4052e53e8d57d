// The frame of every test of the application: a screen for the file, a new user for each test,
// and a check afterwards of what the application has left behind.

import { mkdirSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test as nodeTest } from 'node:test';

import { Accessibility } from './accessibility.mjs';
import { assertNoLeftovers } from './leftovers.mjs';
import { PORT, listeners } from './processes.mjs';
import { Screen } from './screen.mjs';
import { User } from './user.mjs';
import { failWaits, waitFor } from './wait.mjs';

/// Whether the long form of the tests runs.
export const isLong = process.env.ORVEL_TEST_LONG === '1';

const screenshots = process.env.ORVEL_E2E_SCREENSHOTS;

/// Returns the functions with which a file declares its tests and saves screenshots. With
/// `usesPort` false the file leaves the application's port alone. With `accessibility` the
/// application is connected to an accessibility bus, and tests find widgets by their names.
export function desktopTests({
  usesPort = true, accessibility = false, ...screenOptions
} = {}) {
  let screen;
  let user;

  // The test runner passes every signal on and then ends this process, so the handler
  // does not wait, and may run twice.
  for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
    process.on(signal, () => {
      user?.killAll();
      screen?.accessibility?.end();
      screen?.end();
      user?.removeFolder();
      if (screen) rmSync(screen.folder, { recursive: true, force: true });
      process.exit(1);
    });
  }

  before(async () => {
    if (usesPort && listeners()) {
      throw new Error(`port ${PORT} must be free for these tests; it is held by ${listeners()}`);
    }
    screen = await Screen.open(screenOptions);
    screen.watchWindowCount();
    if (accessibility) screen.accessibility = await Accessibility.open(screen);
  });
  after(async () => {
    await screen?.accessibility?.close();
    await screen?.close();
  });

  /// Saves a screenshot if ORVEL_E2E_SCREENSHOTS names a folder.
  async function saveScreenshot(name) {
    if (!screenshots) return;
    mkdirSync(screenshots, { recursive: true });
    await screen.saveScreenshot(join(screenshots, `${name.replace(/[^\w-]+/g, '-')}.png`));
  }

  /// Declares a test. Its body gets the user, the screen and the context of node:test. If the
  /// application still runs after the body, it is quit by its key. Options: `skip`, those of
  /// User, and `configurationFiles` of assertNoLeftovers.
  function test(name, ...optionsAndBody) {
    const body = optionsAndBody.pop();
    const [{ skip = false, configurationFiles, ...userOptions } = {}] = optionsAndBody;
    nodeTest(name, { skip }, async (t) => {
      user = new User(screen, userOptions);
      screen.maxWindowCount = 0;
      try {
        await body(user, screen, t);
        if (user.run && !user.run.exit) await user.quit();
        await assertNoLeftovers(user, configurationFiles);
        if (usesPort) await waitFor('a free port', () => !listeners());
      } catch (error) {
        await saveScreenshot(`failed ${name}`);
        const output = user.runs.map((run) => run.output).join('');
        if (output) t.diagnostic(`output of the application: ${output}`);
        throw error;
      } finally {
        failWaits(null);
        await user.remove();
      }
    });
  }

  return { test, saveScreenshot };
}
