// The setup and teardown of every test of the application: one screen for each file, a new user
// for each test, and a check afterwards that the application has left nothing behind.

import { mkdirSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test as nodeTest } from 'node:test';

import { assertNoLeftovers } from './leftovers.mjs';
import { PORT, describePortHolders } from './processes.mjs';
import { Screen } from './screen.mjs';
import { User } from './user.mjs';
import { failWaits, waitFor } from './wait.mjs';

/// Whether the long form of the tests runs, which repeats more often and covers more combinations.
export const isLongForm = process.env.ORVEL_TEST_LONG === '1';

/// The folder for a screenshot of each failed test, if any.
const screenshotFolder = process.env.ORVEL_E2E_SCREENSHOTS;

/// Returns `test`, the function with which a file declares its tests. The options are those of
/// Screen.open().
export function desktopTests(screenOptions) {
  let screen;
  let user;

  // On SIGINT and SIGTERM, Node's test runner sends this process SIGTERM and exits at once, so the
  // handler does not wait for the killed processes. A terminal signals both processes.
  for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
    process.on(signal, () => {
      user?.killAll();
      screen?.terminate();
      user?.removeFolder();
      screen?.removeFolder();
      process.exit(1);
    });
  }

  before(async () => {
    const holders = describePortHolders();
    if (holders) {
      throw new Error(`port ${PORT} must be free for these tests; it is held by ${holders}`);
    }
    screen = await Screen.open(screenOptions);
    screen.watchWindowCount();
  });
  after(() => screen?.close());

  /// Declares a test. Its body gets the user, the screen and the context of node:test. If the
  /// application still runs after the body, Control-Q quits it. The options, before the body, are
  /// `skip` of node:test, those of User, and `configurationFiles` of assertNoLeftovers.
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
        await waitFor('a free port', () => !describePortHolders());
      } catch (error) {
        if (screenshotFolder) {
          mkdirSync(screenshotFolder, { recursive: true });
          const file = `${name.replace(/[^\w-]+/g, '-')}.png`;
          await screen.saveScreenshot(join(screenshotFolder, file));
        }
        const output = user.runs.map((run) => run.output).join('');
        if (output) t.diagnostic(`output of the application: ${output}`);
        throw error;
      } finally {
        failWaits(null);
        await user.remove();
      }
    });
  }

  return { test };
}
