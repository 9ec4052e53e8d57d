// The application with a server that offers releases.

import assert from 'node:assert/strict';

import { niceValue } from './processes.mjs';
import { waitFor } from './wait.mjs';

export const updatedNotice = 'Orvel OS is bijgewerkt naar 1.1';
export const upToDateNotice = (version = '1.0') => `Orvel OS ${version} is de nieuwste versie.`;

/// Starts the application as version 1.0 with an online server and calls body(server, routes,
/// run). `begin` returns the server's first routes; the body may change them.
export async function withUpdateServer(user, screen, begin, body, startOptions) {
  const routes = {};
  const server = await user.openOnlineServer({ routes });
  user.setPlistValues({ ORVELOSURL: server.address, CFBundleShortVersionString: '1.0' });
  Object.assign(routes, begin());
  await body(server, routes, await startAndShowPage(user, screen, server, startOptions));
}

/// Starts the application and waits for the page of the update server.
export async function startAndShowPage(user, screen, server, options) {
  const before = server.reported('painted').length;
  const run = user.start(options);
  await server.awaitPainted(before + 1);
  await screen.awaitPage();
  return run;
}

/// Waits for the update check that the application makes four seconds after its start.
export async function awaitSilentCheck(server, count = 1) {
  await waitFor('the silent check', () =>
    server.requestsTo('/download/linux.json').length >= count);
}

/// Returns the running applications. A forked child that has not called exec yet has the
/// application's name too, so children of applications are left out.
export function instances(user) {
  const all = user.processesNamed('orvel-os');
  return all.filter(({ parent }) => all.every(({ pid }) => pid !== parent));
}

/// Checks for updates from the menu and closes the expected notice.
export async function checkForUpdates(screen, notice) {
  await screen.chooseApplicationItem(1);
  await screen.awaitPanel(notice);
  await screen.closePanel(notice);
}

/// Closes the update notice, and waits until the old process has ended and a single new one
/// shows the page.
export async function acceptRestart(user, screen, server, run) {
  const before = server.reported('painted').length;
  const nice = niceValue(run.pid);
  await screen.pressKeys('Return');
  await user.awaitCleanExit(run);
  await server.awaitPainted(before + 1);
  const [next, ...others] = instances(user);
  assert.deepEqual(others, []);
  assert.notEqual(next.pid, run.pid);
  assert.equal(niceValue(next.pid), nice);
  assert.equal(next.session, next.pid, 'the new process leads its own session');
  await screen.awaitWindow();
}

/// Quits the instance that has the focus.
export async function quitRestarted(user, screen) {
  await screen.pressKeys('ctrl+q');
  await waitFor('the end of the last instance', () => instances(user).length === 0);
}
