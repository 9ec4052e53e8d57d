// The viewers that the benchmark compares, and the home folder in which each of them starts.

import { cpSync, existsSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { sandboxEnvironment } from '../../tests/support/desktop/sandbox.mjs';

const serverScript = fileURLToPath(new URL('server.mjs', import.meta.url));
const isRoot = process.getuid() === 0;

/// The folders of a new user, with a data root that has the server of the benchmark.
export class UserHome {
  constructor(screen, base = tmpdir()) {
    this.folder = mkdtempSync(join(base, 'orvel bench '));
    const path = (name) => join(this.folder, name);
    for (const name of
      ['home/Downloads', 'config', 'data', 'cache', 'runtime', 'temporary', 'root/v3']) {
      mkdirSync(path(name), { recursive: true, mode: 0o700 });
    }
    this.downloads = path('home/Downloads');
    this.record = path('record.jsonl');
    this.log = path('log');
    writeFileSync(path('root/v3/server.mjs'), `import '${serverScript}';\n`);
    this.environment = {
      PATH: process.env.PATH,
      LANG: 'C.UTF-8',
      DISPLAY: screen.display,
      HOME: path('home'),
      XDG_CONFIG_HOME: path('config'),
      XDG_DATA_HOME: path('data'),
      XDG_CACHE_HOME: path('cache'),
      XDG_RUNTIME_DIR: path('runtime'),
      TMPDIR: path('temporary'),
      DBUS_SESSION_BUS_ADDRESS: 'disabled:',
      ORVEL_OS_ROOT: path('root'),
      ORVEL_BENCH_RECORD: this.record,
      ...sandboxEnvironment(),
    };
  }

  /// Makes the application open this address instead of starting its own server.
  setServerAddress(address) {
    const folder = join(this.environment.XDG_CONFIG_HOME, 'nl.orvel.os');
    mkdirSync(folder, { recursive: true });
    writeFileSync(join(folder, 'defaults.ini'), `[Defaults]\nosURL=${address}\n`);
  }

  remove() {
    rmSync(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}

/// Returns the viewers. `command(home, address)` returns the command line of a viewer; the
/// application starts its server itself when the address is null.
export function listViewers({ application, programs, chromium }) {
  const viewer = (...command) => (home, address) => [...command, address];
  const viewers = [
    {
      name: 'Orvel OS',
      startsServer: true,
      command(home, address) {
        if (address) home.setServerAddress(address);
        return [application];
      },
    },
    { name: 'bare viewer', command: viewer(join(programs, 'bare_viewer')) },
    { name: 'bare viewer, tuned', command: viewer(join(programs, 'bare_viewer'), 'tuned') },
  ];
  if (chromium) {
    viewers.push({
      name: 'Chromium --app',
      command: (home, address) => [
        chromium, `--app=${address}`, `--user-data-dir=${join(home.folder, 'data/chromium')}`,
        '--no-first-run', '--start-maximized',
        // Chromium does not run its sandbox as root.
        ...(isRoot ? ['--no-sandbox'] : []),
      ],
    });
  }
  if (existsSync(join(programs, 'qt_viewer'))) {
    viewers.push({
      name: 'Qt WebEngine',
      environment: isRoot ? { QTWEBENGINE_DISABLE_SANDBOX: '1' } : {},
      command: viewer(join(programs, 'qt_viewer')),
    });
  }
  return viewers;
}

/// Copies the bundle of the application, so that an update can replace it.
export function copyBundle(application, folder) {
  const bundle = dirname(dirname(dirname(application)));
  const copy = join(folder, 'Orvel OS.app');
  cpSync(bundle, copy, { recursive: true });
  return { bundle: copy, executable: join(copy, application.slice(bundle.length)) };
}
