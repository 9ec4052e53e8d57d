// One start of one contender, watched from the birth of its process to the end
// of its last one. All times are in milliseconds.

import { existsSync, readFileSync } from 'node:fs';
import { setTimeout as pause } from 'node:timers/promises';

import { Screen } from '../../tests/support/desktop/screen.mjs';
import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { Home } from './viewers.mjs';
import { ViewerScreen } from './viewer_screen.mjs';
import { Tree } from './process_tree.mjs';

export const LOCAL_PORT = 4767;
const patience = { timeout: 60_000, every: 1 };
const wallClock = () => performance.timeOrigin + performance.now();

export function readRecord(path) {
  if (!existsSync(path)) return [];
  return readFileSync(path, 'utf8').split('\n').slice(0, -1).map((line) => JSON.parse(line));
}

/// Starts the bench's server and waits until it listens; `took` is how long
/// that was.
export async function startServer(programs, home, { host, port, environment = {} }) {
  const settings = { PORT: String(port), ORVEL_BENCH_HOST: host, ...environment };
  const tree = await Tree.start(programs, [process.execPath, `${home.folder}/root/v3/server.mjs`], {
    environment: { ...home.environment, ...settings }, folder: home.folder, log: home.log,
  });
  const listening = () => readRecord(home.record).find(({ event }) => event === 'listening');
  const { time } = await waitFor('a server that listens', listening, { timeout: 20_000, every: 2 });
  return { tree, took: time - tree.start };
}

/// Starts a contender and waits until its finished page is on the screen.
async function show(bench, contender, home, address, since) {
  const environment = { ...home.environment, ...contender.environment, ...bench.environment };
  const tree = await Tree.start(bench.programs, contender.command(home, address), {
    environment, folder: home.folder, log: home.log,
  });
  const start = since ?? tree.start;
  let shown = NaN;
  await waitFor(`the page in ${contender.name}`, () => {
    if (Number.isNaN(shown) && !bench.pixels.isBare()) shown = wallClock();
    return bench.pixels.showsPage();
  }, patience);
  const painted = wallClock();
  const record = readRecord(home.record).filter(({ time }) => time >= start);
  const request = (wanted) => record.find(({ event, url }) => event === 'request' && wanted(url));
  return {
    tree,
    painted,
    times: {
      window: shown - start,
      request: request(() => true)?.time - start,
      page: request((url) => url === '/')?.time - start,
      load: readRecord(home.record).find(({ event }) => event === 'load')?.at - start,
      painted: painted - start,
    },
  };
}

/// Closes the window by the window manager's key and waits for the last process.
async function quit(bench, tree) {
  const end = tree.ended();
  for (let tries = 0; tries < 4; tries += 1) {
    const asked = wallClock();
    await bench.screen.pressKeys('alt+F4');
    // A window that has not got the keyboard yet does not see the key.
    const ended = await Promise.race([end, pause(5000, null, { ref: false })]);
    if (ended) return ended - asked;
  }
  throw new Error('a viewer did not end');
}

async function untilBare(bench) {
  await waitFor('a bare screen', () => bench.pixels.isBare(), { timeout: 10_000 });
}

/// With a server that is ready.
export async function visitReady(bench, contender) {
  const home = new Home(bench.screen);
  const server = await startServer(bench.programs, home, { host: '127.0.0.2', port: bench.port });
  let tree;
  try {
    await untilBare(bench);
    const seen = await show(bench, contender, home, `http://127.0.0.2:${bench.port}/`);
    tree = seen.tree;
    await pause(seen.painted + 5000 - wallClock());
    const settled = await tree.look();
    const quitting = await quit(bench, tree);
    return {
      ...seen.times, processor: settled.processor, memory: settled.memory / 1024,
      own: settled.own / 1024,
      processes: settled.processes.length,
      quitting,
    };
  } finally {
    await tree?.kill();
    await server.tree.kill();
    home.remove();
  }
}

/// With a server that has to be started first: by the application itself, for
/// the others by the bench, which waits until it listens.
export async function visitCold(bench, contender) {
  const home = new Home(bench.screen);
  let tree;
  let server;
  try {
    await untilBare(bench);
    const address = `http://127.0.0.1:${LOCAL_PORT}/`;
    if (!contender.startsServer) {
      server = await startServer(bench.programs, home, { host: '127.0.0.1', port: LOCAL_PORT });
    }
    const seen = await show(bench, contender, home, server ? address : null, server?.tree.start);
    tree = seen.tree;
    const listening = readRecord(home.record).find(({ event }) => event === 'listening');
    const quitting = await quit(bench, tree);
    return { ...seen.times, listening: listening.time - (server?.tree.start ?? tree.start),
      node: server?.took ?? NaN, quitting };
  } finally {
    await tree?.kill();
    await server?.tree.kill();
    home.remove();
  }
}

/// Starts a contender, waits for its page and ends it.
export async function showAlone(bench, contender, home, address) {
  await untilBare(bench);
  const { tree } = await show(bench, contender, home, address);
  await tree.kill();
}

/// The processor time of each contender in the same quiet minute, each with its
/// page on a screen of its own since ten seconds.
export async function quietMinute(bench, all) {
  const shown = [];
  const home = new Home(bench.screen);
  const server = await startServer(bench.programs, home, { host: '127.0.0.2', port: bench.port });
  try {
    for (const contender of all) {
      const screen = await Screen.open(bench.size);
      const own = { ...bench, screen, pixels: new ViewerScreen(screen.folder) };
      const its = { screen, home: new Home(screen) };
      shown.push(its);
      const seen = await show(own, contender, its.home, `http://127.0.0.2:${bench.port}/`);
      its.tree = seen.tree;
    }
    await pause(10_000);
    const looks = () => Promise.all(shown.map(({ tree }) => tree.look()));
    const before = await looks();
    await pause(60_000);
    return (await looks()).map(({ processor }, at) => processor - before[at].processor);
  } finally {
    for (const { screen, home: own, tree } of shown) {
      await tree?.kill();
      await screen.close();
      own.remove();
    }
    await server.tree.kill();
    home.remove();
  }
}
