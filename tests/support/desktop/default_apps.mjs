// The desktop around the application: a Downloads folder, and default applications that record
// their argument instead of showing it.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { link } from './page.mjs';
import { waitFor } from './wait.mjs';

const schemes = ['http', 'https', 'mailto', 'tel', 'sms'];
const mediaTypes = [
  'application/octet-stream', 'application/pdf', 'application/zip', 'text/csv', 'text/html',
  'text/plain',
];

/// The URL of the barrier link, which a test clicks last. The application handles links in order,
/// so once this URL has been opened, all earlier clicks have been handled.
export const barrierUrl = 'https://barrier.test/';
export const barrierLink = link('barrier', barrierUrl);

/// Returns the source of a default application that appends its argument and environment to a file.
const recordingProgram = (record) => `#!${process.execPath}
const { appendFileSync, statSync } = require('node:fs');
const [argument] = process.argv.slice(2);
const size = argument.startsWith('/') ? statSync(argument).size : null;
const argumentCount = process.argv.length - 2;
const line = { argument, size, argumentCount, environment: process.env };
appendFileSync(${JSON.stringify(record)}, JSON.stringify(line) + '\\n');
`;

/// Variables that GIO and the shell add when they start a program.
const addedByLaunch = /^(GIO_LAUNCHED_DESKTOP_FILE(_PID)?|DESKTOP_STARTUP_ID|PWD|OLDPWD|SHLVL|_)$/;

export class Desktop {
  /// Sets the desktop up before the user's first start of the application. `downloads` is
  /// the path of the Downloads folder, by default the one in the home folder.
  constructor(user, { downloads } = {}) {
    const { XDG_CONFIG_HOME, XDG_DATA_HOME } = user.environment;
    this.user = user;
    this.launchRecord = join(user.folder, 'opened.jsonl');
    this.downloads = downloads ?? join(user.home, 'Downloads');
    mkdirSync(this.downloads);
    if (downloads) {
      writeFileSync(join(XDG_CONFIG_HOME, 'user-dirs.dirs'), `XDG_DOWNLOAD_DIR="${downloads}"\n`);
    }

    const opener = join(user.folder, 'opener');
    writeFileSync(opener, recordingProgram(this.launchRecord), { mode: 0o755 });
    mkdirSync(join(XDG_DATA_HOME, 'applications'));
    this.writeDesktopEntry('open-url', `Exec="${opener}" %u`);
    this.writeDesktopEntry('open-file', `Exec="${opener}" %f`);
    const defaults = [
      ...schemes.map((scheme) => `x-scheme-handler/${scheme}=open-url.desktop`),
      ...mediaTypes.map((type) => `${type}=open-file.desktop`),
    ];
    writeFileSync(join(XDG_CONFIG_HOME, 'mimeapps.list'),
      `[Default Applications]\n${defaults.join('\n')}\n`);
  }

  writeDesktopEntry(name, lines) {
    writeFileSync(join(this.user.environment.XDG_DATA_HOME, 'applications', `${name}.desktop`),
      `[Desktop Entry]\nType=Application\nName=${name}\n${lines}\n`);
  }

  /// Makes an application with D-Bus activation the default for a scheme. Its program, false(1),
  /// opens nothing.
  setDBusActivatedDefault(scheme, name) {
    this.writeDesktopEntry(name, 'DBusActivatable=true\nExec=false');
    const defaults = join(this.user.environment.XDG_CONFIG_HOME, 'mimeapps.list');
    writeFileSync(defaults, readFileSync(defaults, 'utf8')
      .replace(`handler/${scheme}=open-url.desktop`, `handler/${scheme}=${name}.desktop`));
  }

  /// Returns the starts of default applications: `argument`, `size` (of the file that the argument
  /// names, or null), `argumentCount` and `environment`.
  launches() {
    if (!existsSync(this.launchRecord)) return [];
    return readFileSync(this.launchRecord, 'utf8').split('\n').slice(0, -1).map((text) => {
      const line = JSON.parse(text);
      const environment = Object.entries(line.environment)
        .filter(([name]) => !addedByLaunch.test(name));
      return { ...line, environment: Object.fromEntries(environment) };
    });
  }

  /// Returns the URLs that have been opened, and the names of the opened files in Downloads.
  opened() {
    const prefix = `${this.downloads}/`;
    return this.launches().map(({ argument }) =>
      (argument.startsWith(prefix) ? argument.slice(prefix.length) : argument));
  }

  /// Waits until a URL or path has been opened, and returns that start of a default application.
  async awaitOpened(argument) {
    return waitFor(`the default application of ${argument}`, () =>
      this.launches().find((launch) => launch.argument === argument));
  }

  /// Clicks the barrier link and waits until it is opened. `layout` is the one that the page has
  /// reported.
  async clickBarrierLink(layout) {
    await this.user.screen.clickElement(layout, 'barrier');
    await this.awaitOpened(barrierUrl);
  }

  /// Fails if the page has been replaced, quits, and does the same as awaitEndAndAssertOpened().
  async quitAndAssertOpened(...expected) {
    this.user.localServer.assertPageLoadedOnce();
    await this.user.quit();
    await this.awaitEndAndAssertOpened(...expected);
  }

  /// Waits for the end of all processes, and fails unless exactly these URLs and files in Downloads
  /// have been opened, and no window beside the main one.
  async awaitEndAndAssertOpened(...expected) {
    await this.user.awaitProcessesEnded();
    assert.deepEqual(this.opened().sort(), expected.sort());
    assert.equal(this.user.screen.maxWindowCount, 1, 'no second window was opened');
  }

  /// Waits until a file in Downloads has been opened, and returns its text. Fails if the file was
  /// opened before it was complete.
  async awaitOpenedFile(name) {
    const path = this.downloadPath(name);
    const { size } = await this.awaitOpened(path);
    if (size !== statSync(path).size) throw new Error(`${name} was opened before it was complete`);
    return readFileSync(path, 'utf8');
  }

  /// Clicks an element of the page that downloads a file, and does the same as awaitOpenedFile().
  async clickAndAwaitFile(layout, id, name) {
    await this.user.screen.clickElement(layout, id);
    return this.awaitOpenedFile(name);
  }

  downloadPath(name) {
    return join(this.downloads, name);
  }

  /// Returns the names in the Downloads folder.
  downloadedFiles() {
    return readdirSync(this.downloads).sort();
  }
}
