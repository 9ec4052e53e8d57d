// A private CUPS server with one print queue. It keeps the documents that it receives.

import { spawn } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { isRunning, kill } from './processes.mjs';
import { waitFor } from './wait.mjs';

const folderSettings = ['ServerRoot', 'RequestRoot', 'TempDir', 'CacheDir', 'StateDir'];
const logSettings = ['AccessLog', 'ErrorLog', 'PageLog'];

export class PrintServer {
  /// Starts the server with a queue of this name.
  static async open(queue) {
    const server = new PrintServer();
    server.folder = mkdtempSync(join(tmpdir(), 'orvel-e2e-cups-'));
    const path = (name) => join(server.folder, name);
    for (const name of folderSettings) mkdirSync(path(name));
    server.address = path('socket');
    writeFileSync(path('cupsd.conf'),
      `Listen ${server.address}\nBrowsing No\nPreserveJobFiles Yes\nDefaultAuthType None\n`);
    const paths = [...folderSettings, ...logSettings].map((name) => `${name} ${path(name)}\n`);
    writeFileSync(path('cups-files.conf'), `FileDevice Yes\n${paths.join('')}`);
    // Nothing is printed: PreserveJobFiles keeps each document in the spool, RequestRoot.
    // FileDevice permits this DeviceURI.
    writeFileSync(path('ServerRoot/printers.conf'),
      `<Printer ${queue}>\nDeviceURI file:///dev/null\nState Idle\nAccepting Yes\n</Printer>\n`);
    server.process = spawn('/usr/sbin/cupsd',
      ['-f', '-c', path('cupsd.conf'), '-s', path('cups-files.conf')], { stdio: 'ignore' });
    await waitFor('the socket of the print server', () => existsSync(server.address));
    return server;
  }

  /// Suspends the server: the kernel accepts connections, and no request gets a response.
  suspend() {
    kill(this.process.pid, 'SIGSTOP');
  }

  /// Returns the paths of the received documents, in order. CUPS names them d<job>-<document>.
  documents() {
    const folder = join(this.folder, 'RequestRoot');
    return readdirSync(folder).filter((name) => /^d\d+-\d+$/.test(name)).sort()
      .map((name) => join(folder, name));
  }

  async close() {
    // A suspended server handles SIGTERM once it continues.
    kill(this.process.pid, 'SIGTERM');
    kill(this.process.pid, 'SIGCONT');
    await waitFor('the end of the print server', () => !isRunning(this.process.pid));
    rmSync(this.folder, { recursive: true, force: true });
  }
}
