// This machine as it is, to be changed at will: what is installed and removed on it
// is gone with it.

import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, lstatSync, mkdirSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const script = fileURLToPath(new URL('overlay_container.sh', import.meta.url));

export class ThrowawayMachine {
  /// Makes the machine; its layer has its place at `folder`, and the folder `shared` is
  /// the same there and here. Fails, with the system's own words, where that is not permitted.
  static async open(folder, shared) {
    mkdirSync(folder);
    const machine = new ThrowawayMachine();
    machine.process = spawn('unshare', ['--mount', '--net', 'sh', script, folder, shared],
      { stdio: ['pipe', 'pipe', 'pipe'] });
    let words = '';
    machine.process.stderr.on('data', (text) => (words += text));
    machine.ended = once(machine.process, 'close');
    // An error to start it comes before its end.
    machine.ended.catch(() => {});
    const ready = await Promise.race([once(machine.process.stdout, 'data'), machine.ended]);
    if (!String(ready[0]).startsWith('ready')) throw new Error(words.trim());
    return machine;
  }

  /// Runs a program there and gives what spawnSync gives.
  run(program, args, options = {}) {
    const enter = ['--target', String(this.process.pid), '--mount', '--net', program, ...args];
    return spawnSync('nsenter', enter, { encoding: 'utf8', ...options });
  }

  /// What differs from the machine that this is, as paths from its root: files that are
  /// new, changed or gone, and folders that are new.
  changes() {
    const layer = `/proc/${this.process.pid}/cwd/changes`;
    return readdirSync(layer, { recursive: true })
      .map((path) => `/${path}`)
      .filter((path) => !(lstatSync(join(layer, path)).isDirectory() && existsSync(path)))
      .sort();
  }

  async close() {
    this.process.stdin.end();
    await this.ended;
  }
}
