// What must hold of the application whatever happens to it, looked at from
// outside.

import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { waitFor } from '../../support/desktop/wait.mjs';
import { MainThread, pauseLimit } from './main_thread.mjs';

/// Memory of a process in MiB, each page that it shares counted by its share
/// (proc(5), smaps_rollup).
export function weightOf(pid) {
  const text = readFileSync(`/proc/${pid}/smaps_rollup`, 'utf8');
  return Number(/^Pss:\s+(\d+)/m.exec(text)[1]) / 1024;
}

function zombiesOf(parent) {
  const stats = readdirSync('/proc').filter((name) => /^\d+$/.test(name)).map((pid) => {
    try {
      return readFileSync(`/proc/${pid}/stat`, 'latin1');
    } catch {
      return '';
    }
  });
  return stats.filter((stat) => {
    const [state, ppid] = stat.slice(stat.lastIndexOf(')') + 2).split(' ');
    return state === 'Z' && Number(ppid) === parent;
  });
}

/// Waits until the application has seen to the end of each of its children.
export async function noZombies(run) {
  await waitFor('the end of all zombies', () => run.exit || zombiesOf(run.pid).length === 0);
}

/// Watches a running application while the body runs, and fails when its main
/// thread did not answer for longer than `pauseLimit` or its memory has grown by
/// `growth` MiB. The body may end the application; it gets the watch, to allow
/// pauses that have a reason.
export async function underWatch(screen, run, t, { growth = 24, what = t.name } = {}, body) {
  const watch = await MainThread.watch(screen, run);
  const before = weightOf(run.pid);
  let seen;
  try {
    await body(watch);
    await noZombies(run);
  } finally {
    seen = await watch.end();
  }
  const grown = run.exit ? 'ended' : `${(weightOf(run.pid) - before).toFixed(1)} MiB`;
  t.diagnostic(`${what}: ${seen.answers} answers, longest ${seen.took} ms, ` +
    `without waiting for a processor ${seen.own} ms; memory ${grown}`);
  assert.deepEqual(seen.slow, [], `${what}: the main thread paused for over ${pauseLimit} ms`);
  if (run.exit) return;
  await waitFor(`${what}: memory back near ${Math.round(before)} MiB`, () =>
    run.exit || weightOf(run.pid) < before + growth, { timeout: 30_000, every: 200 });
}

/// Waits for the ordinary end of a run.
export async function endedWell(user, run, options) {
  const { code, signal, time } = await user.awaitExit(run, options);
  assert.deepEqual({ code, signal }, { code: 0, signal: null }, run.output);
  return time;
}

const below = (folder) => readdirSync(folder, { recursive: true }).map(String);

/// Removes the messages of WebKit's network process about the bug in libsoup 3.6.5: after
/// a connection reset the session may use a feature that has been freed.
function withoutSoupFault(said) {
  const faulty = [...said.matchAll(/(\(process:\d+\)).*'SOUP_IS_SESSION_FEATURE /g)];
  const isKnown = (line) => faulty.some(([, name]) => line.includes(name));
  return said.split('\n').filter((line) => !isKnown(line)).join('\n');
}

/// Looks, once the application has ended, at what it has left behind: only what
/// it keeps, nothing half done, no word of a broken rule.
export async function assertClean(user, { damaged = [] } = {}) {
  await user.assertNothingLeft();
  const said = user.runs.map(({ output }) => output).join('');
  assert.doesNotMatch(withoutSoupFault(said), /CRITICAL|Assertion|terminate called|Sanitizer/);
  const { XDG_CONFIG_HOME, XDG_CACHE_HOME } = user.environment;
  const config = below(join(XDG_CONFIG_HOME)).filter((name) => name.startsWith('nl.orvel.os/'));
  const strange = config.filter((name) => ![...damaged, 'defaults.ini'].includes(name.slice(12)));
  assert.deepEqual(strange, [], 'beside the defaults');
  assert.deepEqual(readdirSync(dirname(user.bundle)), ['Orvel OS.app']);
  // The folder of an update stays, empty when the update has been taken from it.
  const passing = below(XDG_CACHE_HOME).filter((name) =>
    /temporary\/|\.orvel-/.test(name) && !/\/orvel-os-update-[\d.]+(\/part)?$/.test(name));
  assert.deepEqual(passing, [], 'temporary files');
  assert.deepEqual(below(user.home).filter((name) => /\.orvel-|(^|\/)core/.test(name)), []);
  assert.deepEqual(readdirSync(user.folder).filter((name) => /^core/.test(name)), [], 'a core');
}
