// An application that finds releases, and what its user sees of that.

import assert from 'node:assert/strict';

import { OnlineServer } from './online_server.mjs';
import { pageColour } from './page.mjs';
import { niceValue } from './processes.mjs';
import { waitFor } from './wait.mjs';

export const updatedNotice = 'Orvel OS is bijgewerkt naar 1.1';
export const upToDateNotice = (version = '1.0') => `Orvel OS ${version} is de nieuwste versie.`;

/// Runs the application, as version 1.0, on a server of its own. `begin` gives
/// what that answers at first, once the application knows its address; `body`
/// may change it. The options are those of the start.
export async function withUpdateServer(user, screen, begin, body, options) {
  const routes = {};
  const server = await OnlineServer.open({ routes });
  try {
    user.setPlistValues({ ORVELOSURL: server.address, CFBundleShortVersionString: '1.0' });
    Object.assign(routes, begin());
    const run = await startAndShowPage(user, screen, server, options);
    await body(server, routes, run);
  } finally {
    server.close();
  }
}

/// Starts the application once more and waits for its page.
export async function startAndShowPage(user, screen, server, options) {
  const before = server.reported('painted').length;
  const run = user.start(options);
  await server.awaitPainted(before + 1);
  await waitFor('the page on the screen', () => screen.screenshot().shows(pageColour));
  return run;
}

/// The running applications. What one of them forks bears its name until it has
/// become something else.
export function instances(user) {
  const all = user.processesNamed('orvel-os');
  return all.filter(({ parent }) => all.every(({ pid }) => pid !== parent));
}

/// Asks for an update by the menu and closes the notice that answers.
export async function checkForUpdates(screen, notice) {
  await screen.chooseApplicationItem(1);
  await screen.awaitPanel(notice);
  await screen.pressKeys('Return');
  await screen.awaitPanelClosed(notice);
  await screen.awaitWindowCount(1);
}

/// Closes the notice that is open, and sees the old process go and one new one
/// show the page. Gives when the old one had gone.
export async function acceptRestart(user, screen, server, run) {
  const before = server.reported('painted').length;
  const niceness = niceValue(run.pid);
  await screen.pressKeys('Return');
  const { code, signal, time } = await user.awaitExit(run);
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
  await server.awaitPainted(before + 1);
  const [next, ...others] = instances(user);
  assert.deepEqual(others, []);
  assert.notEqual(next.pid, run.pid);
  assert.equal(niceValue(next.pid), niceness);
  assert.equal(next.session, next.pid, 'no terminal takes it along');
  await screen.awaitWindow();
  return { next, time };
}

/// Quits whatever instance has the keyboard.
export async function quitRestarted(user, screen) {
  await screen.pressKeys('ctrl+q');
  await waitFor('the end of the last instance', () => instances(user).length === 0);
}
