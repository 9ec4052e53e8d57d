// Wrappers: command lines that prepare file systems in a new mount namespace and then start the
// application in it.

import { spawnSync } from 'node:child_process';

const unshare = process.getuid() === 0 ? ['unshare', '-m'] : ['unshare', '-r', '-m'];
const [mountProgram, ...mountArgs] = [...unshare, 'mount', '-t', 'tmpfs', 'none', '/mnt'];

/// The reason to skip tests that mount file systems, or false if this machine permits mounts.
export const skipWithoutMounts = spawnSync(mountProgram, mountArgs).status === 0
  ? false : 'this machine does not permit mounts';

/// Returns a wrapper that first runs a shell script with these arguments.
export const mountWrapper = (script, ...args) =>
  [...unshare, 'sh', '-ec', `${script}\nshift ${args.length}\nexec "$@"`, 'sh', ...args];

/// Returns a wrapper that mounts a full file system at each of the paths.
export const fullDiskWrapper = (...paths) => mountWrapper(
  paths.map((_, index) => `mount -t tmpfs -o size=64k none "$${index + 1}"
    cat /dev/zero > "$${index + 1}/full" 2>&- || :`).join('\n'), ...paths);

/// Returns a wrapper that makes a folder read-only, except for one file in it.
export const readOnlyWrapper = (folder, file) => mountWrapper(`mount --bind "$1" "$1"
  touch "$2"
  mount --bind "$2" "$2"
  mount -o remount,bind,ro "$1"`, folder, file);
