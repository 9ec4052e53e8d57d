// A program under process_tree.cc, which weighs it with all its processes.

import { spawn } from 'node:child_process';
import { openSync } from 'node:fs';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

export class Tree {
  /// Starts a program; what it prints goes to `log`.
  static async start(programs, command, { environment, folder, log }) {
    const tree = new Tree();
    const output = openSync(log, 'a');
    tree.child = spawn(join(programs, 'process_tree'), command, {
      cwd: folder,
      env: environment,
      stdio: ['pipe', 'pipe', output],
    });
    tree.lines = [];
    tree.waiting = [];
    createInterface({ input: tree.child.stdout }).on('line', (line) => {
      const waiting = tree.waiting.shift();
      if (waiting) waiting(JSON.parse(line));
      else tree.lines.push(JSON.parse(line));
    });
    tree.child.once('close', () => {
      for (const waiting of tree.waiting) waiting({ ended: true, time: NaN });
    });
    const { time, pid } = await tree.nextLine();
    tree.start = time;
    tree.pid = pid;
    return tree;
  }

  nextLine() {
    if (this.lines.length > 0) return Promise.resolve(this.lines.shift());
    return new Promise((resolve) => this.waiting.push(resolve));
  }

  /// Processor time in ms since the start, memory in kB and the processes.
  look() {
    this.child.stdin.write('look\n');
    return this.nextLine();
  }

  /// Waits for the end of the last process and gives its time.
  async ended() {
    for (;;) {
      const line = await this.nextLine();
      if (line.ended) return line.time;
    }
  }

  /// Ends whatever is left.
  async kill() {
    if (this.child.exitCode !== null) return;
    const closed = new Promise((resolve) => this.child.once('close', resolve));
    this.child.stdin.end();
    await closed;
  }
}
