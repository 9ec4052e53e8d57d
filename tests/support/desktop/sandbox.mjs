// WebKit shows pages in a process of its own, shut in with bubblewrap. Where a
// machine (a container, mostly) forbids that, and only there, the tests let
// WebKit do without.

import { spawnSync } from 'node:child_process';

let environment;

/// What the application's environment needs on this machine.
export function sandboxEnvironment() {
  if (environment === undefined) {
    const { status, stderr, error } = spawnSync('bwrap', ['--ro-bind', '/', '/', 'true']);
    environment = status === 0 ? {} : { WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS: '1' };
    if (status !== 0) {
      const reason = error?.message ?? String(stderr).trim();
      console.log(`bubblewrap cannot work here (${reason}): no sandbox around the web process`);
    }
  }
  return environment;
}
