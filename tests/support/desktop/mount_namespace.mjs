// Wrappers: command lines that prepare file systems in a new mount namespace and then start the
// application in it.

import { spawnSync } from 'node:child_process';

// An ordinary user may mount only as root of a new user namespace.
const unshareOptions = process.getuid() === 0 ? ['--mount'] : ['--map-root-user', '--mount'];
const permitsMounts = spawnSync(
  'unshare', [...unshareOptions, 'mount', '-t', 'tmpfs', 'none', '/mnt']).status === 0;

/// The reason to skip tests that mount file systems, or false if this machine permits mounts.
export const skipWithoutMounts = permitsMounts ? false : 'this machine does not permit mounts';

/// Returns a wrapper that first runs a shell script with these arguments.
export const mountWrapper = (script, ...args) =>
  ['unshare', ...unshareOptions,
    'sh', '-ec', `${script}\nshift ${args.length}\nexec "$@"`, 'sh', ...args];

/// Returns a wrapper that mounts a full file system at each of the paths. cat fails when no
/// space is left; closing standard error (2>&-) suppresses its message.
export const fullDiskWrapper = (...paths) => mountWrapper(
  paths.map((_, index) => `mount -t tmpfs -o size=64k none "$${index + 1}"
    cat /dev/zero > "$${index + 1}/full" 2>&- || :`).join('\n'), ...paths);

/// Returns a wrapper that makes a folder read-only, except for one file in it, which stays writable
/// because it is a mount of its own.
export const readOnlyWrapper = (folder, file) => mountWrapper(`mount --bind "$1" "$1"
  touch "$2"
  mount --bind "$2" "$2"
  mount -o remount,bind,ro "$1"`, folder, file);
