// The viewers that the benchmark compares, which are programs that show a page in a window, and the
// home folder in which each of them starts.

import { cpSync, existsSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { createUserEnvironment } from '../../tests/support/desktop/environment.mjs';

const serverScript = fileURLToPath(new URL('server.mjs', import.meta.url));
const isRoot = process.getuid() === 0;

/// The folders of a new user, and a data root, in which the application finds the server of the
/// benchmark as its own.
export class UserHome {
  constructor(screen, base = tmpdir()) {
    this.folder = mkdtempSync(join(base, 'orvel bench '));
    const environment = createUserEnvironment(this.folder, screen.display);
    this.downloads = join(environment.HOME, 'Downloads');
    mkdirSync(this.downloads);
    this.record = join(this.folder, 'record.jsonl');
    this.log = join(this.folder, 'log');
    const root = join(this.folder, 'root');
    mkdirSync(join(root, 'v3'), { recursive: true });
    writeFileSync(join(root, 'v3/server.mjs'), `import '${serverScript}';\n`);
    this.environment = { ...environment, ORVEL_OS_ROOT: root, ORVEL_BENCH_RECORD: this.record };
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

/// Returns the viewers, the application first. `command(home, address)` prepares the home and
/// returns the command line of a viewer. The application starts its server itself when the address
/// is null. Chromium is left out without its path, and Qt WebEngine when its viewer has not been
/// built.
export function listViewers({ application, programs, chromium }) {
  const withAddress = (...command) => (home, address) => [...command, address];
  const viewers = [
    {
      name: 'Orvel OS',
      startsServer: true,
      command(home, address) {
        if (address) home.setServerAddress(address);
        return [application];
      },
    },
    { name: 'bare viewer', command: withAddress(join(programs, 'bare_viewer')) },
    { name: 'bare viewer, tuned', command: withAddress(join(programs, 'bare_viewer'), 'tuned') },
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
      command: withAddress(join(programs, 'qt_viewer')),
    });
  }
  return viewers;
}

/// Returns the bundle of the application, whose executable is in Contents/Linux.
export const bundleOf = (application) => dirname(dirname(dirname(application)));

/// Copies the bundle of the application, so that an update can replace the copy.
export function copyBundle(application, folder) {
  const bundle = bundleOf(application);
  const copy = join(folder, 'Orvel OS.app');
  cpSync(bundle, copy, { recursive: true });
  return { bundle: copy, executable: join(copy, application.slice(bundle.length)) };
}
