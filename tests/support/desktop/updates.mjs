// The application with a server that offers releases.

import assert from 'node:assert/strict';

import { describe } from './processes.mjs';
import { releaseRoutes } from './release.mjs';
import { waitFor } from './wait.mjs';

export const manifest = '/download/linux.json';
export const archive = '/download/orvel-os.zip';
export const updatedNotice = 'Orvel OS is bijgewerkt naar 1.1';
export const upToDateNotice = (version = '1.0') => `Orvel OS ${version} is de nieuwste versie.`;
const updateItem = 'Zoek naar update…';

/// Makes the user's application version 1.0 and its server an online one, which offers no later
/// release yet. The test may change the server's `routes`.
export async function openUpdateServer(user) {
  const server = await user.openOnlineServer({ routes: releaseRoutes('1.0') });
  user.setPlistValues({ ORVELOSURL: server.address, CFBundleShortVersionString: '1.0' });
  return server;
}

/// Starts the application with an update server, and waits until its silent check for updates,
/// four seconds after the start, has found no release.
export async function startWithUpdateServer(user, options) {
  const server = await openUpdateServer(user);
  await user.startAndShowPage({ server, ...options });
  await awaitSilentCheck(server);
  return server;
}

export async function awaitSilentCheck(server, count = 1) {
  await waitFor('the silent check', () => server.requestsTo(manifest).length >= count);
}

/// Makes a server offer a release. `release` is the archive, or a route that responds with it;
/// `members` are additional members of the manifest.
export function offer(server, version, release, members) {
  Object.assign(server.routes, releaseRoutes(version, release, members));
}

/// Returns the running applications. A forked child that has not called exec yet has the
/// application's name too, so children of applications are left out.
export function instances(user) {
  const all = user.processesNamed('orvel-os');
  return all.filter(({ parent }) => all.every(({ pid }) => pid !== parent));
}

/// Checks for updates from the menu.
export const checkFromMenu = (screen) => screen.chooseApplicationItem(updateItem);

/// Checks for updates from the menu and closes the expected notice.
export async function checkForUpdates(screen, notice) {
  await checkFromMenu(screen);
  await screen.awaitPanel(notice);
  await screen.closePanel(notice);
}

/// Checks for updates from the menu, and waits until the archive of the offered release has been
/// handled. Responses are handled in order: when a second check, which finds the version
/// `installed`, reports, the installation has ended. `members` are those of its manifest.
export async function awaitReleaseHandled(screen, server, members, installed = '1.0') {
  const downloads = () => server.requestsTo(archive).length;
  const before = downloads();
  await checkFromMenu(screen);
  await waitFor('the request for the archive', () => downloads() > before);
  offer(server, '1.0', undefined, members);
  await checkForUpdates(screen, upToDateNotice(installed));
}

/// Installs the offered release from the menu and restarts.
export async function installFromMenu(user, server) {
  await checkFromMenu(user.screen);
  await user.screen.awaitPanel(updatedNotice);
  await acceptRestart(user, server);
}

/// Closes the update notice, and waits until the old process has ended and a single new one
/// shows the page.
export async function acceptRestart(user, server) {
  const { run, screen } = user;
  const before = server.paintCount();
  const { niceness } = describe(run.pid);
  await screen.pressKeys('Return');
  await user.awaitCleanExit(run);
  await server.awaitPainted(before + 1);
  const [next, ...others] = instances(user);
  assert.deepEqual(others, []);
  assert.notEqual(next.pid, run.pid);
  assert.equal(next.niceness, niceness);
  assert.equal(next.session, next.pid, 'the new process leads its own session');
  await screen.awaitWindow();
}

/// Quits the application that an update has started.
export async function quitRestarted(user) {
  await user.screen.pressKeys('ctrl+q');
  await waitFor('the end of the new process', () => instances(user).length === 0);
}
