// Runs a program under process_tree.py, which measures it and all its descendants.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { closeSync, openSync } from 'node:fs';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

const script = fileURLToPath(new URL('process_tree.py', import.meta.url));

export class ProcessTree {
  /// Starts a command. `folder` is its working directory; its standard output and standard error
  /// are appended to the file `log`.
  static async start(command, { environment, folder, log }) {
    const tree = new ProcessTree();
    const output = openSync(log, 'a');
    tree.child = spawn('python3', [script, ...command], {
      cwd: folder,
      env: environment,
      stdio: ['pipe', 'pipe', output],
    });
    closeSync(output);
    tree.lines = createInterface({ input: tree.child.stdout })[Symbol.asyncIterator]();
    const { time, pid } = await tree.nextLine();
    tree.startTime = time;
    tree.pid = pid;
    return tree;
  }

  /// Waits for the next line that process_tree.py prints, and returns its values. Times are in
  /// milliseconds since the epoch; the time is NaN when process_tree.py has exited.
  async nextLine() {
    const { value, done } = await this.lines.next();
    return done ? { ended: true, time: NaN } : JSON.parse(value);
  }

  /// Returns the present sums over the program and its descendants: `processor`, the processor time
  /// since the start in ms; `memory` (Pss) and `privateDirty` in kB; and `processes`, their names.
  measure() {
    this.child.stdin.write('measure\n');
    return this.nextLine();
  }

  /// Waits for the exit of the last process. Returns the time of the exit, or NaN when
  /// process_tree.py itself ended without reporting it.
  async awaitEnd() {
    for (;;) {
      const { ended, time } = await this.nextLine();
      if (ended) return time;
    }
  }

  /// Kills all processes that are still running, by closing the standard input of process_tree.py.
  async kill() {
    if (this.child.exitCode !== null) return;
    const closed = once(this.child, 'close');
    this.child.stdin.end();
    await closed;
  }
}
