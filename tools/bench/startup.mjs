// Measures viewers, programs that show a page in a window, from the start of their first process
// to the exit of the last one. All times are in milliseconds.

import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as pause } from 'node:timers/promises';

import { Screen } from '../../tests/support/desktop/screen.mjs';
import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { isEmptyScreen, showsHeavyPage } from './pages.mjs';
import { ProcessTree } from './process_tree.mjs';
import { UserHome } from './viewers.mjs';

export const screenSize = { width: 1280, height: 800 };

/// The application treats this loopback address as an online server: it does not start one itself.
export const onlineServer = { host: '127.0.0.2', port: 4801 };
/// The address at which the application starts its own server.
const localServer = { host: '127.0.0.1', port: 4767 };

/// Returns the time in milliseconds since the epoch, the same in all processes.
export const wallClock = () => performance.timeOrigin + performance.now();

/// Returns the first matching line in the record of the server, or undefined.
export function findInRecord(home, matches) {
  if (!existsSync(home.record)) return undefined;
  // The server may still be writing the last line.
  return readFileSync(home.record, 'utf8').split('\n').slice(0, -1).map(JSON.parse).find(matches);
}

/// Starts the server of the benchmark and waits until it listens. Returns its ProcessTree with
/// `startupTime`, the time that this took.
async function startServer(home, { host, port, environment }) {
  const command = [process.execPath, join(home.folder, 'root/v3/server.mjs')];
  const tree = await ProcessTree.start(command, {
    ...home,
    environment: {
      ...home.environment, PORT: String(port), ORVEL_BENCH_HOST: host, ...environment,
    },
  });
  const { time } = await waitFor('a listening server',
    () => findInRecord(home, ({ event }) => event === 'listening'), { every: 2 });
  tree.startupTime = time - tree.startTime;
  return tree;
}

/// Calls `body({ home, server, address })` with a new home folder in the folder `base`, and with a
/// server that listens, unless the option `server` is null. Then kills the server and deletes the
/// home.
export async function withHome(bench, body, { server: options = onlineServer, base } = {}) {
  const home = new UserHome(bench.screen, base);
  let server = null;
  try {
    await waitFor('an empty screen', () => isEmptyScreen(bench.screen.framebuffer));
    if (options) server = await startServer(home, options);
    const address = options && `http://${options.host}:${options.port}/`;
    return await body({ home, server, address });
  } finally {
    await server?.kill();
    home.remove();
  }
}

function startViewer(viewer, home, address) {
  const environment = { ...home.environment, ...viewer.environment };
  return ProcessTree.start(viewer.command(home, address), { ...home, environment });
}

/// Waits until the finished page is on the screen. Returns when the window appeared, when the
/// server got the first request and the page request, when the page fired its load event and
/// when it was painted, in milliseconds after `start`.
async function awaitPage({ framebuffer }, viewer, home, start) {
  let window = NaN;
  await waitFor(`the page in ${viewer.name}`, () => {
    if (Number.isNaN(window) && !isEmptyScreen(framebuffer)) window = wallClock() - start;
    return showsHeavyPage(framebuffer);
  }, { timeout: 60_000, every: 1 });
  const painted = wallClock() - start;
  const request = (matches) => findInRecord(home,
    ({ event, time, url }) => event === 'request' && time >= start && matches(url))?.time - start;
  return {
    window,
    request: request(() => true),
    page: request((url) => url === '/'),
    load: findInRecord(home, ({ event }) => event === 'load')?.loadTime - start,
    painted,
  };
}

/// Starts a viewer, waits for its page and calls `body(tree, times)` with the result of awaitPage.
/// Then kills the viewer. The times count from `start`, by default the start of the viewer.
async function withViewer(bench, viewer, { home, address, start }, body) {
  const tree = await startViewer(viewer, home, address);
  try {
    return await body(tree, await awaitPage(bench.screen, viewer, home, start ?? tree.startTime));
  } finally {
    await tree.kill();
  }
}

/// Closes the window with Alt+F4, which the window manager handles, and waits for the exit of the
/// last process. Returns the time from the key press to the exit.
async function quit(bench, tree) {
  const ended = tree.awaitEnd();
  for (let attempt = 0; attempt < 4; attempt += 1) {
    const pressed = wallClock();
    await bench.screen.pressKeys('alt+F4');
    // The key has no effect if the window does not have the focus yet, so it is pressed again.
    const time = await Promise.race([ended, pause(5000, null, { ref: false })]);
    if (time) return time - pressed;
  }
  throw new Error('a viewer did not exit');
}

/// Measures a start with a server that is already running, and 5 seconds after the page is painted
/// the processor time since the start and the memory in MiB.
export function measureReadyStart(bench, viewer) {
  return withHome(bench, (context) => withViewer(bench, viewer, context, async (tree, times) => {
    await pause(tree.startTime + times.painted + 5000 - wallClock());
    const { processor, memory, privateDirty, processes } = await tree.measure();
    return {
      ...times,
      processor,
      memory: memory / 1024,
      privateDirty: privateDirty / 1024,
      processes: processes.length,
      quitting: await quit(bench, tree),
    };
  }));
}

/// Measures a start without a running server. The application starts the server itself; for
/// the other viewers the benchmark starts the server first, and the times count from that start.
export function measureColdStart(bench, viewer) {
  return withHome(bench, ({ server, ...context }) =>
    withViewer(bench, viewer, { ...context, start: server?.startTime },
      (tree, times) => ({ ...times, serverStart: server?.startupTime ?? NaN })),
  { server: viewer.startsServer ? null : localServer });
}

/// Summarises the file that main_loop_stalls.cc writes, with a line `WAITED WORKED` for each stall.
/// Returns the processor time of the first stall, which is the launch of the application, and of the
/// longest later stall, and the total time for which the main thread was blocked on a condition
/// variable, for example until another thread has run a child process.
export function summariseStalls(text) {
  const stalls = text.trim().split('\n').map((line) => line.split(' ').map(Number));
  const [launch, ...later] = stalls.map(([, worked]) => worked);
  const totalWaited = stalls.reduce((sum, [waited]) => sum + waited, 0);
  return { launch, later: Math.max(0, ...later), waited: totalWaited };
}

/// Measures the stalls of the main loop from the start until the page is shown. With `cold`, the
/// application starts its server itself.
export function measureMainLoop(bench, viewer, { cold = false } = {}) {
  return withHome(bench, async (context) => {
    const file = join(context.home.folder, 'stalls');
    // The program `env` sets the variables for the viewer only: process_tree.py, which starts the
    // viewer, must not load the library.
    const recordedViewer = {
      ...viewer,
      command: (...options) => ['env',
        `LD_PRELOAD=${join(bench.programs, 'libmain_loop_stalls.so')}`,
        `ORVEL_MAIN_LOOP_STALLS=${file}`, ...viewer.command(...options)],
    };
    await withViewer(bench, recordedViewer, context, () => {});
    return summariseStalls(readFileSync(file, 'utf8'));
  }, { server: cold ? null : onlineServer });
}

/// Measures the processor time of each viewer in the same minute without input, which begins
/// 10 seconds after the last page is shown. Each viewer has its own screen.
export function measureQuietMinute(bench, viewers) {
  return withHome(bench, async ({ address }) => {
    const runs = [];
    try {
      for (const viewer of viewers) {
        const screen = await Screen.open(screenSize);
        const run = { screen, home: new UserHome(screen) };
        runs.push(run);
        run.tree = await startViewer(viewer, run.home, address);
        await awaitPage(screen, viewer, run.home, run.tree.startTime);
      }
      await pause(10_000);
      const measure = () => Promise.all(runs.map(({ tree }) => tree.measure()));
      const before = await measure();
      await pause(60_000);
      return (await measure()).map(({ processor }, index) => processor - before[index].processor);
    } finally {
      for (const { screen, home, tree } of runs) {
        await tree?.kill();
        await screen.close();
        home.remove();
      }
    }
  });
}
