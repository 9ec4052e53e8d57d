// The application is killed while it installs a release. Afterwards the bundle is completely the
// old one or completely the new one, and starts.

import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { cpSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { isRunning, kill, threadsNamed } from '../support/desktop/processes.mjs';
import {
  fingerprint, makeRelease, makeUpdateKey, signatureMembers,
} from '../support/desktop/release.mjs';
import {
  acceptRestart, archivePath, offerRelease, quitRestartedApplication, updatedNotice,
  useUpdateServer,
} from '../support/desktop/updates.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

/// Returns whether this machine permits strace to attach to a running process.
function canTrace() {
  const sleeper = spawn('sleep', ['10'], { stdio: 'ignore' });
  const attempt = spawnSync('strace', ['-p', String(sleeper.pid)],
    { timeout: 1000, killSignal: 'SIGINT', encoding: 'utf8' });
  kill(sleeper.pid);
  return / attached/.test(attempt.stderr ?? '');
}

/// Returns the IDs of the threads that the application itself has created, one of which installs
/// the release. Threads of libraries have other names, and the main thread's ID is that of the
/// process.
const applicationThreads = (pid) =>
  threadsNamed(pid, 'orvel-os').filter((thread) => thread !== pid);

/// The system calls that change a folder or may open a file for writing. The application is killed
/// at these only, because between two of them the folders do not change.
const changingSystemCalls = ['mkdir', 'mkdirat', 'openat', 'rename', 'renameat', 'renameat2',
  'rmdir', 'unlink', 'unlinkat', 'fchmodat', 'symlinkat', 'linkat'];

/// Traces the application's threads. If a name is given, strace kills the application at the
/// `number`th system call of that name. Returns the tracer and a function that reads the calls.
async function trace(user, { pid }, name, number) {
  const log = join(user.folder, 'strace.log');
  const threads = applicationThreads(pid);
  assert.ok(threads.length > 0);
  const fault = name ? ['-e', `inject=${name}:signal=KILL:when=${number}`] : [];
  // The question mark ignores calls that this architecture does not have.
  const traced = changingSystemCalls.map((each) => `?${each}`).join();
  const options = ['-o', log, '-e', `trace=${traced}`, ...fault];
  const targets = threads.flatMap((thread) => ['-p', String(thread)]);
  const tracer =
    spawn('strace', [...options, ...targets], { stdio: ['ignore', 'ignore', 'pipe'] });
  let output = '';
  tracer.stderr.on('data', (text) => (output += text));
  await waitFor('the attached tracer', () =>
    output.split(' attached').length - 1 === threads.length);
  return {
    tracer,
    // strace begins a line with a thread ID when it traces several threads.
    calls: () => Array.from(readFileSync(log, 'utf8').matchAll(/^(?:\d+ +)?(\w+)\((.*)/gm),
      ([, call, args]) => ({ name: call, args })),
  };
}

/// Starts the application, which checks for updates by itself and downloads the offered release.
/// Traces it from the middle of the download on, where the server waits for the file `user.gate`.
/// `name` and `number` are those of trace(). Returns whether the installation was complete, and the
/// system calls.
async function installTraced(user, screen, server, name, number) {
  rmSync(user.gate, { force: true });
  const before = server.requestsTo(archivePath).length;
  const run = await user.startAndShowPage({ server });
  run.killExpected = true;
  await server.awaitRequest(archivePath, before + 1);
  const { tracer, calls } = await trace(user, run, name, number);
  writeFileSync(user.gate, '');
  await waitFor('the end of the application or the update notice', async () =>
    run.exit || (await screen.windows(updatedNotice)).length > 0);
  const isComplete = !run.exit;
  kill(tracer.pid, 'SIGTERM');
  await waitFor('the end of the tracer', () => !isRunning(tracer.pid));
  return { isComplete, calls: calls() };
}

/// Returns the working folder of the update to version 1.1. The application unpacks the archive in
/// its subfolder `part`.
const updateFolder = (user) =>
  join(user.environment.XDG_CACHE_HOME, 'nl.orvel.os/temporary/orvel-os-update-1.1');

/// Returns the numbers, from 1, of the system calls of a name at which to kill. Of the calls that
/// unpack the archive it includes only the first and the last, because unpacking does not touch the
/// bundle and has other tests.
function callNumbersToKillAt(name, calls) {
  const isUnpacking = ({ args }) => args.includes('/orvel-os-update-1.1/part');
  const [first, last] = [calls.findIndex(isUnpacking), calls.findLastIndex(isUnpacking)];
  assert.ok(first >= 0 && last > first);
  return calls.map((call, index) => ({ ...call, index }))
    .filter((call) => call.name === name)
    .map(({ index }, earlierCalls) => ({ index, number: earlierCalls + 1 }))
    .filter(({ index }) => index <= first || index >= last)
    .map(({ number }) => number);
}

// The release is signed, because its installation has every step of an unsigned one and more.
test('SIGKILL at a system call that changes files leaves the old or the new bundle, which starts',
  { skip: !canTrace() && 'strace is missing or may not attach to a process' },
  async (user, screen, t) => {
    const key = makeUpdateKey();
    user.setPlistValues({ ORVELOSUpdateKey: key.publicKey });
    const server = await useUpdateServer(user);
    const copy = join(user.folder, 'copy');
    cpSync(user.bundle, copy, { recursive: true });
    const restoreOldBundle = () => {
      rmSync(user.bundle, { recursive: true });
      cpSync(copy, user.bundle, { recursive: true });
    };
    const oldBundle = fingerprint(user.bundle);
    const release = makeRelease(user);
    offerRelease(server, '1.1', { body: release, gate: user.gate },
      signatureMembers(release, key, '1.1'));

    const uninterrupted = await installTraced(user, screen, server);
    assert.ok(uninterrupted.isComplete);
    const newBundle = fingerprint(user.bundle);
    assert.notEqual(newBundle, oldBundle);
    await user.forceQuit();
    restoreOldBundle();

    const bundles = { old: 0, new: 0 };
    const kills = Object.fromEntries(uninterrupted.calls.map(({ name }) => [name, 0]));
    for (const name of Object.keys(kills)) {
      for (const number of callNumbersToKillAt(name, uninterrupted.calls)) {
        // The application would remove an earlier run's folder, and make more calls than before.
        rmSync(updateFolder(user), { recursive: true, force: true });
        const { isComplete } = await installTraced(user, screen, server, name, number);
        const bundle = fingerprint(user.bundle);
        if (isComplete) {
          // This run made fewer than `number` calls of this name, so it was not killed.
          await user.forceQuit();
          restoreOldBundle();
          break;
        }
        kills[name] += 1;
        assert.ok(bundle === oldBundle || bundle === newBundle,
          `the bundle mixes two versions after the kill at ${name} ${number}`);
        bundles[bundle === oldBundle ? 'old' : 'new'] += 1;
        if (bundle === newBundle) {
          // Starts the new bundle here, because the next round starts the old one.
          await user.startAndShowPage({ server });
          await user.quit();
          restoreOldBundle();
        }
      }
    }
    t.diagnostic(`kills ${JSON.stringify(kills)}, bundles afterwards ${JSON.stringify(bundles)}`);
    // Every installation makes these calls, on every architecture.
    for (const name of ['openat', 'renameat2', 'unlinkat']) {
      assert.ok(kills[name] > 0, `no kill at ${name}`);
    }
    assert.ok(bundles.old > 0 && bundles.new > 0);

    assert.ok((await installTraced(user, screen, server)).isComplete);
    await acceptRestart(user, server);
    await quitRestartedApplication(user);
  });
