// Updates of the application from a server that offers releases.

import assert from 'node:assert/strict';
import { basename } from 'node:path';

import { readProcess } from './processes.mjs';
import { waitFor } from './wait.mjs';

export const manifestPath = '/download/linux.json';
export const archivePath = '/download/orvel-os.zip';
export const updatedNotice = 'Orvel OS is bijgewerkt naar 1.1';
export const checkFailedNotice = 'Kon niet controleren op updates.';
export const upToDateNotice = (version = '1.0') => `Orvel OS ${version} is de nieuwste versie.`;

/// Sets the version of the user's application to 1.0 and its server to a new online one, which
/// offers no later release yet. Returns the server, whose `routes` the test may change. `members`
/// are additional members of the manifest.
export async function useUpdateServer(user, members) {
  const server = await user.openOnlineServer();
  offerNoLaterRelease(server, members);
  user.setPlistValues({ ORVELOSURL: server.address, CFBundleShortVersionString: '1.0' });
  return server;
}

/// Starts the application with an update server, and waits for the silent check for updates, four
/// seconds after the start. The arguments and the result are those of useUpdateServer().
export async function startWithUpdateServer(user, members) {
  const server = await useUpdateServer(user, members);
  await user.startAndShowPage({ server });
  await server.awaitRequest(manifestPath);
  return server;
}

/// Makes a server offer a release. `release` is the archive, or a route that responds with it;
/// `members` are additional members of the manifest.
export function offerRelease(server, version, release, members = {}) {
  const manifest = { versie: version, zip: basename(archivePath), ...members };
  Object.assign(server.routes, {
    [manifestPath]: { body: JSON.stringify(manifest) },
    [archivePath]: release instanceof Buffer ? { body: release } : release,
  });
}

/// Makes a server offer version 1.0, the version with which every test begins.
export function offerNoLaterRelease(server, members = {}) {
  offerRelease(server, '1.0', Buffer.from(''), members);
}

/// Returns the processes that are instances of the application. A forked child that has not called
/// exec yet has the application's name too, so children of instances are left out.
function applicationInstances(user) {
  const candidates = user.processesNamed('orvel-os');
  return candidates.filter(({ parent }) => candidates.every(({ pid }) => pid !== parent));
}

/// Chooses the menu item that checks for updates.
export const beginUpdateCheck = (screen) => screen.chooseApplicationMenuItem('Zoek naar update…');

/// Checks for updates from the menu and closes the expected notice.
export async function checkAndCloseNotice(screen, notice) {
  await beginUpdateCheck(screen);
  await screen.awaitPanel(notice);
  await screen.closePanel(notice);
}

/// Checks for updates from the menu, and waits until the application has installed or rejected the
/// offered release. A second check is a barrier: responses are handled in order, so the
/// installation has ended when the second check reports that the running version, `running`, is the
/// latest. `members` are additional members of the manifest of the second check.
export async function checkUntilReleaseHandled(screen, server, members, running = '1.0') {
  const before = server.requestsTo(archivePath).length;
  await beginUpdateCheck(screen);
  await server.awaitRequest(archivePath, before + 1);
  offerNoLaterRelease(server, members);
  await checkAndCloseNotice(screen, upToDateNotice(running));
}

/// Installs the offered release from the menu and restarts.
export async function installAndRestart(user, server) {
  await beginUpdateCheck(user.screen);
  await user.screen.awaitPanel(updatedNotice);
  await acceptRestart(user, server);
}

/// Closes the update notice by Return, which restarts the application. Waits until the old process
/// has ended and a single new one shows the page.
export async function acceptRestart(user, server) {
  const { run, screen } = user;
  const before = server.paintCount();
  // zsh, which runs the command that restarts, lowers the priority of background jobs by default.
  const { niceness } = readProcess(run.pid);
  await screen.pressKeys('Return');
  await user.awaitCleanExit(run);
  await server.awaitPainted(before + 1);
  const [next, ...others] = applicationInstances(user);
  assert.deepEqual(others, [], 'only one new process runs');
  assert.notEqual(next.pid, run.pid);
  assert.equal(next.niceness, niceness, 'the new process has the niceness of the old one');
  assert.equal(next.session, next.pid, 'the new process leads its own session');
  await screen.awaitWindow();
}

/// Quits the application that an update has started.
export async function quitRestartedApplication(user) {
  await user.screen.pressKeys('ctrl+q');
  await waitFor('the end of the new process', () => applicationInstances(user).length === 0);
}
