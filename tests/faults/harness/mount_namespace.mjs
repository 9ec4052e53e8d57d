// File systems of the application's own, in a name space that ends with it.

import { spawnSync } from 'node:child_process';

const unshare = process.getuid() === 0 ? ['unshare', '-m'] : ['unshare', '-r', '-m'];
const [program, ...rest] = [...unshare, 'mount', '-t', 'tmpfs', 'none', '/mnt'];

/// Why no file system can be mounted here, or false.
export const noMounts = spawnSync(program, rest).status === 0
  ? false : 'this machine lets nobody mount a file system';

/// A program before the application's that runs this script first, with the
/// paths as its arguments.
export const mounting = (script, ...paths) =>
  [...unshare, 'sh', '-ec', `${script}\nshift ${paths.length}\nexec "$@"`, 'sh', ...paths];

/// The paths lie on file systems on which not a byte is free.
export const full = (...paths) => mounting(
  paths.map((_, at) => `mount -t tmpfs -o size=64k none "$${at + 1}"
    cat /dev/zero > "$${at + 1}/vol" 2>&- || :`).join('\n'), ...paths);

/// A folder can only be read, but for one file in it.
export const readOnly = (folder, file) => mounting(`mount --bind "$1" "$1"
  touch "$2"
  mount --bind "$2" "$2"
  mount -o remount,bind,ro "$1"`, folder, file);
