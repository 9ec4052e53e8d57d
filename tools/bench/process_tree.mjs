// Runs a program under process_tree.cc, which measures it and all its descendants.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { openSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

export class ProcessTree {
  /// Starts a program in the folder of a home, with its environment; its output goes to the
  /// log of the home.
  static async start(programs, command, { environment, folder, log }) {
    const tree = new ProcessTree();
    tree.child = spawn(join(programs, 'process_tree'), command, {
      cwd: folder,
      env: environment,
      stdio: ['pipe', 'pipe', openSync(log, 'a')],
    });
    tree.lines = createInterface({ input: tree.child.stdout })[Symbol.asyncIterator]();
    tree.start = (await tree.nextLine()).time;
    return tree;
  }

  async nextLine() {
    const { value, done } = await this.lines.next();
    return done ? { ended: true, time: NaN } : JSON.parse(value);
  }

  /// Returns the processor time since the start in ms, the memory (Pss) and the private dirty
  /// memory in kB, and the names of the processes.
  measure() {
    this.child.stdin.write('measure\n');
    return this.nextLine();
  }

  /// Waits for the exit of the last process and returns its time.
  async ended() {
    for (;;) {
      const { ended, time } = await this.nextLine();
      if (ended) return time;
    }
  }

  /// Kills all processes that are still running.
  async kill() {
    if (this.child.exitCode !== null) return;
    const closed = once(this.child, 'close');
    this.child.stdin.end();
    await closed;
  }
}
