// The application is killed while it installs a release: what then stands in
// its place is the whole old one or the whole new one, and starts.

import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import {
  cpSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

import { isRunning, kill } from '../support/desktop/processes.mjs';
import { fingerprint, makeRelease, releaseRoutes } from '../support/desktop/release.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { withUpdateServer, quitRestarted, acceptRestart, startAndShowPage, updatedNotice } from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ usesPort: false });

/// Whether this user may follow a process that is there already.
function canTrace() {
  const sleeper = spawn('sleep', ['10'], { stdio: 'ignore' });
  const attempt = spawnSync('strace', ['-p', String(sleeper.pid)],
    { timeout: 1000, killSignal: 'SIGINT', encoding: 'utf8' });
  kill(sleeper.pid);
  return / attached/.test(attempt.stderr ?? '');
}

/// The threads that the application has made itself: one of them installs. The
/// libraries' threads have names of their own.
function ownThreads(pid) {
  return readdirSync(`/proc/${pid}/task`).filter((thread) =>
    Number(thread) !== pid &&
    readFileSync(`/proc/${pid}/task/${thread}/comm`, 'utf8').startsWith('orvel-os'));
}

// The calls that change what lies on a disk, or open a file to do so. Between
// two of them there is nothing new to be killed at.
const kinds = ['mkdir', 'mkdirat', 'openat', 'rename', 'renameat', 'renameat2', 'rmdir', 'unlink',
  'unlinkat', 'fchmodat', 'symlinkat', 'linkat'];

/// Follows those threads, and kills the application when one of them makes a
/// kind of system call for the `number`th time from now on, if a kind is given.
async function follow(user, { pid }, kind, number) {
  const log = join(user.folder, 'strace.log');
  const threads = ownThreads(pid).flatMap((thread) => ['-p', thread]);
  assert.ok(threads.length > 0);
  const fault = kind ? ['-e', `inject=${kind}:signal=KILL:when=${number}`] : [];
  // The question mark: not every machine has them all.
  const traced = kinds.map((each) => `?${each}`).join();
  const tracer = spawn('strace', ['-o', log, '-e', `trace=${traced}`, ...fault, ...threads],
    { stdio: ['ignore', 'ignore', 'pipe'] });
  let said = '';
  tracer.stderr.on('data', (text) => (said += text));
  await waitFor('a tracer at work', () =>
    said.split(' attached').length - 1 === threads.length / 2);
  return {
    tracer,
    calls: () => Array.from(readFileSync(log, 'utf8').matchAll(/^(?:\d+ +)?(\w+)\((.*)/gm),
      ([, name, words]) => ({ name, words })),
  };
}

/// Lets a running application install what the server offers. Gives whether it
/// came to the notice, and the calls that it made.
async function install(user, screen, run, kind, number) {
  run.killExpected = true;
  const { tracer, calls } = await follow(user, run, kind, number);
  await screen.chooseApplicationItem(1);
  const done = await waitFor('the end or the notice', async () => {
    if (run.exit) return 'killed';
    return (await screen.windows(updatedNotice)).length > 0 && 'whole';
  });
  kill(tracer.pid, 'SIGTERM');
  await waitFor('the end of the tracer', () => !isRunning(tracer.pid));
  return { whole: done === 'whole', calls: calls() };
}

const workingFolder = (user) =>
  join(user.environment.XDG_CACHE_HOME, 'nl.orvel.os/temporary/orvel-os-update-1.1');

/// Which of the calls of one kind to kill at, counted from 1. While the archive is
/// unpacked the bundle is not touched, and tests of the unpacking alone kill at each
/// of its calls: here its first and last are enough.
function numbersOf(kind, calls) {
  const isUnpacking = ({ words }) => words.includes('/orvel-os-update-1.1/part');
  const [first, last] = [calls.findIndex(isUnpacking), calls.findLastIndex(isUnpacking)];
  assert.ok(first >= 0 && last > first);
  return calls.map((call, at) => ({ ...call, at }))
    .filter(({ name }) => name === kind)
    .flatMap(({ at }, before) => (at <= first || at >= last ? [before + 1] : []));
}

test('killed at every system call that changes a bundle, it is whole and starts again',
  { timeout: 800_000, skip: !canTrace() && 'no process can be followed here' },
  async (user, screen, t) => {
    const kept = join(user.folder, 'bewaard');
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, first) => {
      cpSync(user.bundle, kept, { recursive: true });
      const restore = () => {
        rmSync(user.bundle, { recursive: true });
        cpSync(kept, user.bundle, { recursive: true });
      };
      const old = fingerprint(user.bundle);
      Object.assign(routes, releaseRoutes('1.1', makeRelease(user)));

      const undisturbed = await install(user, screen, first);
      assert.ok(undisturbed.whole);
      const latest = fingerprint(user.bundle);
      assert.notEqual(latest, old);
      await user.forceQuit(first);
      restore();

      const left = { old: 0, new: 0 };
      const made = new Set(undisturbed.calls.map(({ name }) => name));
      for (const kind of made) {
        let kills = 0;
        for (const number of numbersOf(kind, undisturbed.calls)) {
          // What a kill left would be removed first, by more calls.
          rmSync(workingFolder(user), { recursive: true, force: true });
          const run = await startAndShowPage(user, screen, server);
          const { whole } = await install(user, screen, run, kind, number);
          const now = fingerprint(user.bundle);
          if (whole) {
            // This run made fewer such calls.
            await user.forceQuit(run);
            restore();
            break;
          }
          kills += 1;
          assert.ok(now === old || now === latest, `neither, after ${kind} ${number}`);
          left[now === old ? 'old' : 'new'] += 1;
          if (now === latest) {
            // The old one is started by the next round.
            await user.quit(await startAndShowPage(user, screen, server));
            restore();
          }
        }
        t.diagnostic(`killed at ${kills} calls of ${kind}`);
      }
      t.diagnostic(`left by the kills: ${JSON.stringify(left)}`);
      for (const kind of ['openat', 'renameat2', 'unlinkat']) {
        assert.ok(made.has(kind), `no kill at ${kind}`);
      }
      assert.ok(left.old > 0 && left.new > 0);

      const last = await startAndShowPage(user, screen, server);
      assert.ok((await install(user, screen, last)).whole);
      assert.deepEqual(readdirSync(join(user.bundle, '..')), ['Orvel OS.app']);
      await acceptRestart(user, screen, server, last);
      await quitRestarted(user, screen);
    });
  });

/// A release that takes seconds to unpack.
function largeRelease(user) {
  return makeRelease(user, {
    alter: (_, bundle) => writeFileSync(join(bundle, 'Contents/large'), Buffer.alloc(1 << 30)),
  });
}

/// Starts an update check and waits until a part of the large file is unpacked.
async function beginUnpacking(user, screen) {
  const large = join(workingFolder(user), 'part/Orvel OS.app/Contents/large');
  rmSync(large, { force: true });
  await screen.chooseApplicationItem(1);
  await waitFor('the unpacking', () => statSync(large, { throwIfNoEntry: false })?.size > 0);
}

test('killed or quit while the archive is unpacked, it is whole', { timeout: 180_000 },
  async (user, screen) => {
    await withUpdateServer(user, screen, () => releaseRoutes('1.0'), async (server, routes, first) => {
      const old = fingerprint(user.bundle);
      await waitFor('the silent check', () => server.requestsTo('/download/linux.json').length === 1);
      const archive = largeRelease(user);
      let run = first;
      for (const end of ['SIGKILL', 'SIGTERM']) {
        Object.assign(routes, releaseRoutes('1.1', archive));
        run.killExpected = true;
        await beginUnpacking(user, screen);
        kill(run.pid, end);
        await user.awaitExit(run);
        assert.equal(fingerprint(user.bundle), old);
        Object.assign(routes, releaseRoutes('1.0'));
        run = await startAndShowPage(user, screen, server);
      }
      await user.quit(run);
    });
  });
