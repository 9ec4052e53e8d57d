// The desktop around the application: a Downloads folder, and default
// applications that write down what they were given instead of showing it.

import { existsSync, mkdirSync, readFileSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { waitFor } from './wait.mjs';

const schemes = ['http', 'https', 'mailto', 'tel', 'sms'];
const types = [
  'application/octet-stream', 'application/pdf', 'application/zip', 'text/csv', 'text/html',
  'text/plain',
];

const program = (record) => `#!${process.execPath}
const { appendFileSync, statSync } = require('node:fs');
const [given] = process.argv.slice(2);
const size = given.startsWith('/') ? statSync(given).size : null;
const line = { given, size, count: process.argv.length - 2, environment: process.env };
appendFileSync(${JSON.stringify(record)}, JSON.stringify(line) + '\\n');
`;

/// What starting a program adds to an environment: GIO tells which entry it
/// was, a shell where it is.
const ofTheStart = /^(GIO_LAUNCHED_DESKTOP_FILE(_PID)?|DESKTOP_STARTUP_ID|PWD|OLDPWD|SHLVL|_)$/;

export class Desktop {
  /// Sets the desktop up for a user who has not started the application yet.
  /// `downloads` is another place for the folder than the home folder's own.
  constructor(user, { downloads } = {}) {
    const { XDG_CONFIG_HOME, XDG_DATA_HOME } = user.environment;
    this.user = user;
    this.record = join(user.folder, 'opened.jsonl');
    this.downloads = downloads ?? join(user.home, 'Downloads');
    mkdirSync(this.downloads);
    if (downloads) {
      writeFileSync(join(XDG_CONFIG_HOME, 'user-dirs.dirs'), `XDG_DOWNLOAD_DIR="${downloads}"\n`);
    }

    const opener = join(user.folder, 'opener');
    writeFileSync(opener, program(this.record), { mode: 0o755 });
    const applications = join(XDG_DATA_HOME, 'applications');
    mkdirSync(applications);
    const entry = (name, field) =>
      writeFileSync(join(applications, `${name}.desktop`),
        `[Desktop Entry]\nType=Application\nName=${name}\nExec="${opener}" ${field}\n`);
    entry('adressen', '%u');
    entry('bestanden', '%f');
    const defaults = [
      ...schemes.map((scheme) => `x-scheme-handler/${scheme}=adressen.desktop`),
      ...types.map((type) => `${type}=bestanden.desktop`),
    ];
    writeFileSync(join(XDG_CONFIG_HOME, 'mimeapps.list'),
      `[Default Applications]\n${defaults.join('\n')}\n`);
  }

  /// Has a scheme opened by an application that is called by a name on the bus.
  activateByDBus(scheme, name) {
    const { XDG_CONFIG_HOME, XDG_DATA_HOME } = this.user.environment;
    writeFileSync(join(XDG_DATA_HOME, 'applications', `${name}.desktop`),
      `[Desktop Entry]\nType=Application\nName=${name}\nDBusActivatable=true\nExec=false\n`);
    const choices = join(XDG_CONFIG_HOME, 'mimeapps.list');
    writeFileSync(choices, readFileSync(choices, 'utf8')
      .replace(`handler/${scheme}=adressen.desktop`, `handler/${scheme}=${name}.desktop`));
  }

  /// What the default applications were given so far, with their surroundings.
  launches() {
    if (!existsSync(this.record)) return [];
    return readFileSync(this.record, 'utf8').split('\n').slice(0, -1).map((text) => {
      const line = JSON.parse(text);
      const own = Object.entries(line.environment).filter(([name]) => !ofTheStart.test(name));
      return { ...line, environment: Object.fromEntries(own) };
    });
  }

  /// The URLs and paths that were opened so far.
  opened() {
    return this.launches().map(({ given }) => given);
  }

  async awaitOpened(given) {
    return waitFor(`the opening of ${given}`, () =>
      this.launches().find((start) => start.given === given));
  }

  /// Everything that was opened, once the application has ended and nothing can
  /// be opened any more.
  async openedAfterExit() {
    await this.user.assertNothingLeft();
    return this.opened().sort();
  }

  /// Waits until a file of Downloads was opened, and gives its text as it was
  /// then found.
  async awaitFile(name) {
    const path = join(this.downloads, name);
    const { size } = await this.awaitOpened(path);
    if (size !== statSync(path).size) throw new Error(`${name} was opened before it was whole`);
    return readFileSync(path, 'utf8');
  }

  /// The names in the Downloads folder.
  files() {
    return readdirSync(this.downloads).sort();
  }
}
