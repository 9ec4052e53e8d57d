// Programs that start the application in a mount namespace of its own.

import { spawnSync } from 'node:child_process';

const unshare = process.getuid() === 0 ? ['unshare', '-m'] : ['unshare', '-r', '-m'];
const [program, ...rest] = [...unshare, 'mount', '-t', 'tmpfs', 'none', '/mnt'];

/// Why no file system can be mounted on this machine, or false.
export const noMounts = spawnSync(program, rest).status === 0
  ? false : 'this machine does not permit mounts';

/// Returns a wrapper for the application that first runs this script with these arguments.
export const mounting = (script, ...values) =>
  [...unshare, 'sh', '-ec', `${script}\nshift ${values.length}\nexec "$@"`, 'sh', ...values];

/// Returns a wrapper that mounts a file system without a free byte at each of the paths.
export const fullDisks = (...paths) => mounting(
  paths.map((_, index) => `mount -t tmpfs -o size=64k none "$${index + 1}"
    cat /dev/zero > "$${index + 1}/full" 2>&- || :`).join('\n'), ...paths);

/// Returns a wrapper that makes a folder read-only, except for one file in it.
export const readOnly = (folder, file) => mounting(`mount --bind "$1" "$1"
  touch "$2"
  mount --bind "$2" "$2"
  mount -o remount,bind,ro "$1"`, folder, file);
