// A container whose root file system is an overlay over that of this machine. Changes outside /tmp
// and the shared folder, such as installed packages, disappear with the container.

import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, lstatSync, mkdirSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const script = fileURLToPath(new URL('overlay_container.sh', import.meta.url));

export class OverlayContainer {
  /// Creates the container. `folder` is the mount point of the overlay. The folder `shared` is the
  /// same inside and outside the container. Throws an error with the output of the failing command
  /// when this machine does not permit namespaces or mounts.
  static async open(folder, shared) {
    mkdirSync(folder);
    const container = new OverlayContainer();
    container.process = spawn('unshare', ['--mount', '--net', 'sh', script, folder, shared],
      { stdio: ['pipe', 'pipe', 'pipe'] });
    let errors = '';
    container.process.stderr.on('data', (text) => (errors += text));
    container.ended = once(container.process, 'close');
    // The race below reports a rejection; this prevents an unhandled one.
    container.ended.catch(() => {});
    const ready = await Promise.race([once(container.process.stdout, 'data'), container.ended]);
    if (!String(ready[0]).startsWith('ready')) throw new Error(errors.trim());
    return container;
  }

  /// Runs a program in the container and returns what spawnSync returns.
  run(program, args, options = {}) {
    const enter = ['--target', String(this.process.pid), '--mount', '--net', program, ...args];
    return spawnSync('nsenter', enter, { encoding: 'utf8', ...options });
  }

  /// Returns the absolute paths of files that were created, changed or deleted, and of folders
  /// that were created.
  changes() {
    // The working directory of the script holds the upper layer of the overlay.
    const upper = `/proc/${this.process.pid}/cwd/upper`;
    return readdirSync(upper, { recursive: true })
      .map((path) => `/${path}`)
      .filter((path) => !(lstatSync(join(upper, path)).isDirectory() && existsSync(path)))
      .sort();
  }

  async close() {
    this.process.stdin.end();
    await this.ended;
  }
}
