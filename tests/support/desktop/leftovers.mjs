// A list of the files below a folder, and the check that the application has left nothing behind.

import assert from 'node:assert/strict';
import { readdirSync, statSync } from 'node:fs';
import { dirname, join } from 'node:path';

/// Returns the messages about failed assertions, without those of known bugs:
/// - After a connection reset, libsoup completes a request twice (3.2.3) or uses a freed feature of
///   its session (3.6.5) in WebKit's network process. All messages of such a process are ignored.
/// - GLib (2.74) reports a failed D-Bus activation without a startup ID.
/// - GTK (4.8) finds no monitor for an open menu while the menu bar slides out of the screen.
function failedAssertions(output) {
  // Messages of the application begin with "(nl.orvel.os:", not "(process:".
  const bugsOfLibsoup =
    /(\(process:\d+\)): libsoup-CRITICAL .*('item->task != NULL'|'SOUP_IS_SESSION_FEATURE )/g;
  const withKnownBug = [...output.matchAll(bugsOfLibsoup)];
  const isKnown = (line) => withKnownBug.some(([, prefix]) => line.includes(prefix)) ||
    line.includes("launch_failed: assertion 'startup_notify_id != NULL'") ||
    line.includes("gdk_monitor_get_geometry: assertion 'GDK_IS_MONITOR (monitor)'");
  return output.split('\n').filter((line) =>
    /CRITICAL|Assertion|terminate called|Sanitizer/.test(line) && !isKnown(line));
}

/// Returns the paths of the files below a folder. Follows symbolic links to files.
export const filesBelow = (folder) =>
  readdirSync(folder, { recursive: true }).map((name) => join(folder, name))
    .filter((path) => statSync(path, { throwIfNoEntry: false })?.isFile());

/// Returns the paths below a folder that match a pattern.
const pathsMatching = (folder, pattern) =>
  readdirSync(folder, { recursive: true }).map(String).filter((path) => pattern.test(path));

/// Waits until all processes of a user have ended. Fails if the application has printed a message
/// about a failed assertion, or left a temporary or partial file (".orvel-..."), a core file, a
/// file beside its bundle, or a file in its configuration folder that is not one of
/// `configurationFiles`.
export async function assertNoLeftovers(user, configurationFiles = ['defaults.ini']) {
  await user.awaitProcessesEnded();
  const { XDG_CONFIG_HOME, XDG_CACHE_HOME, TMPDIR } = user.environment;
  assert.deepEqual({
    failedAssertions: failedAssertions(user.runs.map((run) => run.output).join('')),
    temporary: readdirSync(TMPDIR),
    // The working folder of an update and its subfolder `part` stay until the next installation.
    // The application has moved the unpacked bundle out of them.
    cache: pathsMatching(XDG_CACHE_HOME, /temporary\/|\.orvel-/)
      .filter((path) => !/\/orvel-os-update-[^/]*(\/part)?$/.test(path)),
    configuration: pathsMatching(XDG_CONFIG_HOME, /^nl\.orvel\.os\//)
      .filter((path) => !configurationFiles.includes(path.slice('nl.orvel.os/'.length))),
    home: pathsMatching(user.home, /\.orvel-|(^|\/)core/),
    besideBundle: readdirSync(dirname(user.bundle)).filter((name) => name !== 'Orvel OS.app'),
    cores: readdirSync(user.folder).filter((name) => name.startsWith('core')),
  }, {
    failedAssertions: [], temporary: [], cache: [], configuration: [], home: [], besideBundle: [],
    cores: [],
  });
}
