// WebKit runs its web process in a bubblewrap sandbox. On machines that forbid one, mostly
// containers, the tests disable it.

import { spawnSync } from 'node:child_process';

let environment;

/// Returns the variables that WebKit needs on this machine.
export function sandboxEnvironment() {
  if (environment === undefined) {
    const { status, stderr, error } = spawnSync('bwrap', ['--ro-bind', '/', '/', 'true']);
    environment = status === 0 ? {} : { WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS: '1' };
    if (status !== 0) {
      const reason = error?.message ?? String(stderr).trim();
      console.log(`no sandbox for the web process, because bubblewrap failed: ${reason}`);
    }
  }
  return environment;
}
