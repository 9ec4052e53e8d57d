// Measures from outside how long the application's main thread does not answer: GTK
// answers the window manager's _NET_WM_PING from the main loop.

import { once } from 'node:events';
import { Worker } from 'node:worker_threads';

/// Starts to ping the window of a running application. Returns a function that stops it and
/// returns the number of answers and the longest pauses in milliseconds: the `elapsed` time,
/// and the `busy` time without the wait for a processor.
export async function pingMainThread(screen, run) {
  const window = Number(await screen.awaitWindow());
  const worker = new Worker(new URL('pinger.mjs', import.meta.url), {
    workerData: { display: screen.display, window, pid: run.pid, screenPid: screen.server.pid },
  });
  await once(worker, 'message');
  const result = once(worker, 'message');
  // The returned function throws when the worker has failed.
  result.catch(() => {});
  return async () => {
    worker.postMessage({ hasEnded: Boolean(run.exit) });
    const [pauses] = await result;
    await worker.terminate();
    return pauses;
  };
}
