// A private CUPS server with one print queue. It keeps the documents that it receives.

import { execFile, spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { isRunning, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

const run = promisify(execFile);

async function findFreePort() {
  const server = createServer();
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

export class PrintServer {
  static async open(queue) {
    const server = new PrintServer();
    server.folder = mkdtempSync(join(tmpdir(), 'orvel-e2e-cups-'));
    const path = (name) => join(server.folder, name);
    for (const name of ['etc', 'spool', 'tmp', 'cache', 'state']) mkdirSync(path(name));
    server.address = `127.0.0.1:${await findFreePort()}`;
    writeFileSync(path('cupsd.conf'), `Listen ${server.address}
Browsing No
PreserveJobFiles Yes
DefaultAuthType None
<Location />
  Allow all
</Location>
<Location /admin>
  Allow all
</Location>
<Policy default>
  <Limit All>
    Allow all
  </Limit>
</Policy>
`);
    writeFileSync(path('cups-files.conf'), `FileDevice Yes
ServerRoot ${path('etc')}
RequestRoot ${path('spool')}
TempDir ${path('tmp')}
CacheDir ${path('cache')}
StateDir ${path('state')}
AccessLog ${path('access_log')}
ErrorLog ${path('error_log')}
PageLog ${path('page_log')}
`);
    server.process = spawn('/usr/sbin/cupsd',
      ['-f', '-c', path('cupsd.conf'), '-s', path('cups-files.conf')], { stdio: 'ignore' });
    // Nothing is printed: PreserveJobFiles keeps each document in the spool.
    const printer = ['-v', 'file:///dev/null', '-m', 'raw', '-E'];
    const addQueue = ['-h', server.address, '-p', queue, ...printer];
    await waitFor('a print queue', () =>
      run('/usr/sbin/lpadmin', addQueue).then(() => true, () => false));
    return server;
  }

  /// Suspends the server: the kernel accepts connections, and no request gets a response.
  suspend() {
    kill(this.process.pid, 'SIGSTOP');
  }

  /// Returns the paths of the received documents, in order. CUPS names them d<job>-<document>.
  documents() {
    const folder = join(this.folder, 'spool');
    return readdirSync(folder).filter((name) => /^d\d+-\d+$/.test(name)).sort()
      .map((name) => join(folder, name));
  }

  async close() {
    kill(this.process.pid, 'SIGTERM');
    kill(this.process.pid, 'SIGCONT');
    await waitFor('the end of the print server', () => !isRunning(this.process.pid));
    rmSync(this.folder, { recursive: true, force: true });
  }
}
