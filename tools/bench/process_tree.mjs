// Runs a program under process_tree.cc, which measures it and all its descendants.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { openSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

export class ProcessTree {
  /// Starts a command under the process_tree program in `programFolder`. `folder` is the working
  /// directory. The command's standard output and standard error are appended to the file `log`.
  static async start(programFolder, command, { environment, folder, log }) {
    const tree = new ProcessTree();
    tree.child = spawn(join(programFolder, 'process_tree'), command, {
      cwd: folder,
      env: environment,
      stdio: ['pipe', 'pipe', openSync(log, 'a')],
    });
    tree.lines = createInterface({ input: tree.child.stdout })[Symbol.asyncIterator]();
    tree.startTime = (await tree.nextLine()).time;
    return tree;
  }

  /// Returns the next line that process_tree prints, or the time NaN when it has exited.
  /// Times are in milliseconds since the epoch.
  async nextLine() {
    const { value, done } = await this.lines.next();
    return done ? { ended: true, time: NaN } : JSON.parse(value);
  }

  /// Returns the sums over the program and its descendants: `processor`, the processor time since
  /// the start in ms; `memory` (Pss) and `privateDirty` in kB; and `processes`, their names.
  measure() {
    this.child.stdin.write('measure\n');
    return this.nextLine();
  }

  /// Waits for the exit of the last process. Returns the time of the exit, or NaN when
  /// process_tree itself ended without reporting it.
  async ended() {
    for (;;) {
      const { ended, time } = await this.nextLine();
      if (ended) return time;
    }
  }

  /// Kills all processes that are still running, by closing the standard input of process_tree.
  async kill() {
    if (this.child.exitCode !== null) return;
    const closed = once(this.child, 'close');
    this.child.stdin.end();
    await closed;
  }
}
