import { spawnSync } from 'node:child_process';
import { mkdirSync } from 'node:fs';
import { join } from 'node:path';

// WebKit runs its web process in a bubblewrap sandbox. On machines that forbid one, mostly
// containers, the tests disable it.
const { status, stderr, error } = spawnSync('bwrap', ['--ro-bind', '/', '/', 'true']);
const sandboxVariables = status === 0 ? {} : { WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS: '1' };
if (status !== 0) {
  const reason = error?.message ?? String(stderr).trim();
  console.log(`no sandbox for the web process, because bubblewrap failed: ${reason}`);
}

/// Creates the folders of a new user and returns the environment that names them.
export function createUserEnvironment(folder, display) {
  const create = (name) => {
    const path = join(folder, name);
    mkdirSync(path, { mode: 0o700 });
    return path;
  };
  return {
    PATH: process.env.PATH,
    LANG: 'C.UTF-8',
    DISPLAY: display,
    HOME: create('home'),
    XDG_CONFIG_HOME: create('config'),
    XDG_DATA_HOME: create('data'),
    XDG_CACHE_HOME: create('cache'),
    XDG_STATE_HOME: create('state'),
    XDG_RUNTIME_DIR: create('runtime'),
    TMPDIR: create('temporary'),
    // An address without a bus. Without the variable GLib would start a bus.
    DBUS_SESSION_BUS_ADDRESS: 'disabled:',
    ...sandboxVariables,
  };
}
