// Who is measured: how each is started on an address, for a user who has never
// started it before.

import { cpSync, existsSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { sandboxEnvironment } from '../../tests/support/desktop/sandbox.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const isRoot = process.getuid() === 0;

/// A fresh user: home, desktop folders and a data root with the bench's server.
export class Home {
  constructor(screen, { base = tmpdir() } = {}) {
    this.folder = mkdtempSync(join(base, 'orvel bench '));
    const folders = ['home', 'config', 'data', 'cache', 'runtime', 'temporary', 'root/v3'];
    for (const name of folders) mkdirSync(join(this.folder, name), { recursive: true, mode: 0o700 });
    mkdirSync(join(this.folder, 'home/Downloads'));
    this.downloads = join(this.folder, 'home/Downloads');
    this.record = join(this.folder, 'record.jsonl');
    this.log = join(this.folder, 'log');
    writeFileSync(join(this.folder, 'root/v3/server.mjs'), `import '${join(here, 'server.mjs')}';\n`);
    const in_ = (name) => join(this.folder, name);
    this.environment = {
      PATH: process.env.PATH,
      LANG: 'C.UTF-8',
      DISPLAY: screen.display,
      HOME: in_('home'),
      XDG_CONFIG_HOME: in_('config'),
      XDG_DATA_HOME: in_('data'),
      XDG_CACHE_HOME: in_('cache'),
      XDG_RUNTIME_DIR: in_('runtime'),
      TMPDIR: in_('temporary'),
      DBUS_SESSION_BUS_ADDRESS: 'disabled:',
      ORVEL_OS_ROOT: in_('root'),
      ORVEL_BENCH_RECORD: this.record,
      ...sandboxEnvironment(),
    };
  }

  /// Lets the application open an address in place of its own server.
  choose(address) {
    const folder = join(this.environment.XDG_CONFIG_HOME, 'nl.orvel.os');
    mkdirSync(folder, { recursive: true });
    writeFileSync(join(folder, 'defaults.ini'), `[Defaults]\nosURL=${address}\n`);
  }

  remove() {
    rmSync(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}

/// A contender's `command(home, address)` gives what to run; the application
/// starts the server itself when there is no address.
export function contenders({ application, programs, chromium }) {
  const viewer = (...before) => (home, address) => [...before, address];
  const all = [
    {
      name: 'Orvel OS',
      startsServer: true,
      command(home, address) {
        if (address) home.choose(address);
        return [application];
      },
    },
    { name: 'bare viewer', command: viewer(join(programs, 'bare_viewer')) },
    { name: 'bare viewer, tuned', command: viewer(join(programs, 'bare_viewer'), 'tuned') },
  ];
  if (chromium) {
    all.push({
      name: 'Chromium --app',
      command: (home, address) => [
        chromium, `--app=${address}`, `--user-data-dir=${join(home.folder, 'data/chromium')}`,
        '--no-first-run', '--start-maximized',
        // It refuses to run as root with its sandbox.
        ...(isRoot ? ['--no-sandbox'] : []),
      ],
    });
  }
  if (existsSync(join(programs, 'qt_viewer'))) {
    all.push({
      name: 'Qt WebEngine',
      environment: isRoot ? { QTWEBENGINE_DISABLE_SANDBOX: '1' } : {},
      command: viewer(join(programs, 'qt_viewer')),
    });
  }
  return all;
}

/// A copy of the application's bundle, which an update may replace.
export function copyOfBundle(application, folder) {
  const bundle = dirname(dirname(dirname(application)));
  const copy = join(folder, 'Orvel OS.app');
  cpSync(bundle, copy, { recursive: true });
  return { bundle: copy, executable: join(copy, application.slice(bundle.length)) };
}
