// An application that finds releases, and what its user sees of that.

import assert from 'node:assert/strict';

import { OnlineServer } from './online_server.mjs';
import { pageColour } from './page.mjs';
import { nicenessOf } from './processes.mjs';
import { waitFor } from './wait.mjs';

export const updated = 'Orvel OS is bijgewerkt naar 1.1';
export const newest = (version = '1.0') => `Orvel OS ${version} is de nieuwste versie.`;

/// Runs the application, as version 1.0, on a server of its own. `begin` gives
/// what that answers at first, once the application knows its address; `body`
/// may change it. The options are those of the start.
export async function online(user, screen, begin, body, options) {
  const routes = {};
  const server = await OnlineServer.open({ routes });
  try {
    user.setInformation({ ORVELOSURL: server.address, CFBundleShortVersionString: '1.0' });
    Object.assign(routes, begin());
    const run = await start(user, screen, server, options);
    await body(server, routes, run);
  } finally {
    server.close();
  }
}

/// Starts the application once more and waits for its page.
export async function start(user, screen, server, options) {
  const before = server.told('getoond').length;
  const run = user.start(options);
  await server.painted(before + 1);
  await waitFor('the page on the screen', () => screen.picture().shows(pageColour));
  return run;
}

/// The running applications. What one of them forks bears its name until it has
/// become something else.
export function instances(user) {
  const all = user.processNamed('orvel-os');
  return all.filter(({ parent }) => all.every(({ pid }) => pid !== parent));
}

/// Asks for an update by the menu and closes the notice that answers.
export async function askAndClose(screen, notice) {
  await screen.chooseApplicationItem(1);
  await screen.panel(notice);
  await screen.keys('Return');
  await screen.panelGone(notice);
  await screen.managing(1);
}

/// Closes the notice that is open, and sees the old process go and one new one
/// show the page. Gives when the old one had gone.
export async function restart(user, screen, server, run) {
  const before = server.told('getoond').length;
  const niceness = nicenessOf(run.pid);
  await screen.keys('Return');
  const { code, signal, time } = await user.ended(run);
  assert.deepEqual({ code, signal }, { code: 0, signal: null });
  await server.painted(before + 1);
  const [next, ...others] = instances(user);
  assert.deepEqual(others, []);
  assert.notEqual(next.pid, run.pid);
  assert.equal(nicenessOf(next.pid), niceness);
  assert.equal(next.session, next.pid, 'no terminal takes it along');
  await screen.window();
  return { next, time };
}

/// Quits whatever instance has the keyboard.
export async function quitLast(user, screen) {
  await screen.keys('ctrl+q');
  await waitFor('the end of the last instance', () => instances(user).length === 0);
}
