// Whether the application's main thread goes on doing its work, seen from
// outside: it answers the window manager's question whether it is alive.

import { Worker } from 'node:worker_threads';

/// The longest time in milliseconds for which the main thread may not answer. The
/// default only detects a hang, so that a busy machine fails no test;
/// ORVEL_TEST_PAUSE_MS sets a stricter limit for a measurement on a quiet machine.
export const pauseLimit = Number(process.env.ORVEL_TEST_PAUSE_MS ?? 5000);

export class MainThread {
  /// Begins to watch a running application through its window.
  static async watch(screen, run) {
    const watch = new MainThread();
    watch.run = run;
    watch.answers = [];
    watch.allowed = [];
    const window = Number(await screen.awaitWindow());
    const { pid } = run;
    watch.worker = new Worker(new URL('pinger.mjs', import.meta.url), {
      workerData: { display: screen.display, window, pid, screenPid: screen.server.pid, every: 25 },
    });
    watch.worker.on('error', (error) => (watch.error = error));
    const ready = new Promise((resolve) => (watch.ready = resolve));
    watch.over = new Promise((resolve) => {
      watch.worker.on('exit', resolve);
      watch.worker.on('message', (answer) => {
        if (answer === 'ready') watch.ready();
        else if (answer === null) resolve();
        else watch.answers.push(answer);
      });
    });
    await ready;
    return watch;
  }

  /// Does something during which the main thread may wait: it starts a server,
  /// which runs commands.
  async allowing(body) {
    const span = { from: Date.now(), to: Infinity };
    this.allowed.push(span);
    try {
      return await body();
    } finally {
      span.to = Date.now();
    }
  }

  /// Ends the watching. Gives how many answers came and the longest waits, in
  /// milliseconds: as they were, and without the time that the threads of the
  /// round trip waited for a processor.
  async end() {
    this.worker.postMessage(!this.run.exit);
    await this.over;
    if (this.error) throw this.error;
    const counted = this.answers.filter(({ at, took }) =>
      this.allowed.every(({ from, to }) => at + took < from || at > to));
    const worst = (name) => Math.max(0, ...counted.map((answer) => Math.round(answer[name])));
    return { answers: counted.length, took: worst('took'), own: worst('own'),
      slow: counted.filter(({ own }) => own > pauseLimit) };
  }
}
