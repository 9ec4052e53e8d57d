// Downloads and an update by the application, each beside what the command line
// does with the same server. Times are in milliseconds, from the moment at which
// the server is asked for the first byte.

import { execFile } from 'node:child_process';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { randomFillSync } from 'node:crypto';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { Home, copyOfBundle } from './viewers.mjs';
import { Tree } from './process_tree.mjs';
import { FILES, LARGE, SMALL } from './transfer_pages.mjs';
import { readRecord, startServer } from './startup.mjs';

const run = promisify(execFile);
const wallClock = () => performance.timeOrigin + performance.now();
const patience = { timeout: 300_000, every: 5 };

/// A file of this size has its name, which it gets when it is whole.
const isWhole = (path, size) => existsSync(path) && statSync(path).size === size;

class Trial {
  static async begin(bench, page, environment = {}) {
    const trial = new Trial();
    trial.bench = bench;
    trial.home = new Home(bench.screen, { base: bench.scratch });
    trial.server = await startServer(bench.programs, trial.home, {
      host: '127.0.0.2', port: bench.port, environment: { ORVEL_BENCH_PAGE: page, ...environment },
    });
    trial.address = `http://127.0.0.2:${bench.port}/`;
    return trial;
  }

  /// When the server was asked for this.
  asked(wanted) {
    return readRecord(this.home.record).find(wanted)?.time;
  }

  async startApplication(executable = this.bench.application) {
    this.home.choose(this.address);
    this.tree = await Tree.start(this.bench.programs, [executable], {
      environment: this.home.environment, folder: this.home.folder, log: this.home.log,
    });
  }

  /// Runs a command line tool and gives how long it took since the request.
  async tool(wanted, ...commands) {
    for (const [name, args] of commands) await run(name, args, { cwd: this.home.downloads });
    return wallClock() - this.asked(wanted);
  }

  async end() {
    await this.tree?.kill();
    await this.server.tree.kill();
    this.home.remove();
  }
}

async function withTrial(bench, page, environment, body) {
  const trial = await Trial.begin(bench, page, environment);
  try {
    return await body(trial);
  } finally {
    await trial.end();
  }
}

const isLarge = ({ url }) => url === '/api/bestand/groot.bin';

export const largeByApplication = (bench) => withTrial(bench, 'large', {}, async (trial) => {
  await trial.startApplication();
  await waitFor('the large file',
    () => isWhole(join(trial.home.downloads, 'groot.bin'), LARGE), patience);
  return wallClock() - trial.asked(isLarge);
});

export const largeByCurl = (bench) => withTrial(bench, 'large', {}, (trial) =>
  trial.tool(isLarge, ['curl', ['-sfO', `${trial.address}api/bestand/groot.bin`]]));

const isFirstSmall = ({ event }) => event === 'small';

export const smallByApplication = (bench) => withTrial(bench, 'small', {}, async (trial) => {
  await trial.startApplication();
  const count = () => readdirSync(trial.home.downloads).length;
  await waitFor('all small files', () => count() === FILES, { ...patience, every: 20 });
  const took = wallClock() - trial.asked(isFirstSmall);
  for (const name of readdirSync(trial.home.downloads)) {
    if (!isWhole(join(trial.home.downloads, name), SMALL)) throw new Error(`${name} is not whole`);
  }
  return took;
});

/// With one connection for all, or with one for each file as the application
/// has them.
export const smallByCurl = (bench, { reuse = true } = {}) =>
  withTrial(bench, 'small', {}, (trial) => {
    const list = join(trial.home.folder, 'list');
    const lines = Array.from({ length: FILES }, (_, at) =>
      `url = "${trial.address}api/export?${at}"\noutput = "${at}.bin"\n`);
    writeFileSync(list, lines.join(''));
    const header = reuse ? [] : ['-H', 'Connection: close'];
    return trial.tool(isFirstSmall, ['curl', ['-sf', ...header, '-K', list]]);
  });

/// An archive of a release of this size in bytes; it holds what hardly becomes
/// smaller, as programs and pictures do.
export async function makeArchive(bench, size) {
  const folder = mkdtempSync(join(bench.scratch, 'orvel bench archive '));
  const { bundle } = copyOfBundle(bench.application, folder);
  const information = join(bundle, 'Contents/Info.plist');
  writeFileSync(information, readFileSync(information, 'utf8')
    .replace(/(<key>CFBundleShortVersionString<\/key>\s*<string>)[^<]*/, '$199'));
  const extra = join(bundle, 'Contents/Resources/inhoud');
  mkdirSync(extra);
  for (let left = size, at = 0; left > 0; left -= 1 << 20, at += 1) {
    writeFileSync(join(extra, String(at)), randomFillSync(Buffer.alloc(Math.min(left, 1 << 20))));
  }
  await run('zip', ['-qr', 'os.zip', 'Orvel OS.app'], { cwd: folder });
  return { folder, path: join(folder, 'os.zip') };
}

const isArchive = ({ url }) => url === '/download/os.zip';

export const updateByApplication = (bench, archive) =>
  withTrial(bench, 'heavy', { ORVEL_BENCH_ARCHIVE: archive }, async (trial) => {
    const { bundle, executable } = copyOfBundle(bench.application, trial.home.folder);
    await trial.startApplication(executable);
    const isNew = () => /<string>99<\/string>/
      .test(readFileSync(join(bundle, 'Contents/Info.plist'), 'utf8'));
    await waitFor('the new bundle', isNew, patience);
    return wallClock() - trial.asked(isArchive);
  });

export const updateByTools = (bench, archive) =>
  withTrial(bench, 'heavy', { ORVEL_BENCH_ARCHIVE: archive }, (trial) =>
    trial.tool(isArchive,
      ['curl', ['-sfo', 'os.zip', `${trial.address}download/os.zip`]],
      ['unzip', ['-q', 'os.zip', '-d', 'uitgepakt']]));

export const removeFolder = (folder) => rmSync(folder, { recursive: true, force: true });
