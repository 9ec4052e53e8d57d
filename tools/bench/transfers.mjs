// Measures downloads and an update by the application, and the same with command line tools.
// Times are in milliseconds and count from the first request.

import { execFile } from 'node:child_process';
import { randomFillSync } from 'node:crypto';
import {
  existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, statSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { LARGE_FILE_SIZE, SMALL_FILES, SMALL_FILE_SIZE } from './pages.mjs';
import { ProcessTree } from './process_tree.mjs';
import { findInRecord, onlineServer, wallClock, withHome } from './startup.mjs';
import { copyBundle } from './viewers.mjs';

const run = promisify(execFile);

/// Calls `body({ home, address })` with a server that has this page and release archive. The
/// home is in the scratch folder.
const withPage = (bench, page, body, archive = '') => withHome(bench, body, {
  base: bench.scratch,
  server: {
    ...onlineServer,
    environment: { ORVEL_BENCH_PAGE: page, ORVEL_BENCH_ARCHIVE: archive },
  },
});

/// Runs the application until `isDone` returns true. Returns the time since the request that
/// `matches` finds in the record of the server.
async function runApplication(bench, { home, address }, matches, isDone, {
  executable = bench.application, every = 5,
} = {}) {
  home.setServerAddress(address);
  const tree = await ProcessTree.start(bench.programs, [executable], home);
  try {
    await waitFor('the end of the transfer', isDone, { timeout: 300_000, every });
    return wallClock() - findInRecord(home, matches).time;
  } finally {
    await tree.kill();
  }
}

/// Runs commands in the Downloads folder. Returns the time since the request that `matches` finds
/// in the record of the server.
async function runTools({ home }, matches, ...commands) {
  for (const [name, ...args] of commands) await run(name, args, { cwd: home.downloads });
  return wallClock() - findInRecord(home, matches).time;
}

/// Returns whether the complete file is at the path. The application gives a download its final
/// name only when it is complete.
const hasSize = (path, size) => existsSync(path) && statSync(path).size === size;

const isLargeFile = ({ url }) => url === '/api/bestand/large.bin';

export const largeByApplication = (bench) => withPage(bench, 'large', (context) => {
  const path = join(context.home.downloads, 'large.bin');
  return runApplication(bench, context, isLargeFile, () => hasSize(path, LARGE_FILE_SIZE));
});

export const largeByCurl = (bench) => withPage(bench, 'large', (context) =>
  runTools(context, isLargeFile, ['curl', '-sfO', `${context.address}api/bestand/large.bin`]));

const isFirstSmallFile = ({ event }) => event === 'first small file';

export const smallByApplication = (bench) => withPage(bench, 'small', async (context) => {
  const folder = context.home.downloads;
  const time = await runApplication(bench, context, isFirstSmallFile,
    () => readdirSync(folder).length === SMALL_FILES, { every: 20 });
  for (const name of readdirSync(folder)) {
    if (!hasSize(join(folder, name), SMALL_FILE_SIZE)) throw new Error(`${name} is incomplete`);
  }
  return time;
});

/// Downloads the small files over one connection, or over a new connection for each file as the
/// application does.
export const smallByCurl = (bench, { reuse = true } = {}) => withPage(bench, 'small', (context) => {
  const list = join(context.home.folder, 'list');
  const lines = Array.from({ length: SMALL_FILES }, (_, at) =>
    `url = "${context.address}api/export?${at}"\noutput = "${at}.bin"\n`);
  writeFileSync(list, lines.join(''));
  const header = reuse ? [] : ['-H', 'Connection: close'];
  return runTools(context, isFirstSmallFile, ['curl', '-sf', ...header, '-K', list]);
});

/// Creates the archive of a release with this many bytes of random content, which does not
/// compress, like programs and images.
export async function createArchive(bench, size) {
  const folder = mkdtempSync(join(bench.scratch, 'orvel bench archive '));
  const { bundle } = copyBundle(bench.application, folder);
  const information = join(bundle, 'Contents/Info.plist');
  writeFileSync(information, readFileSync(information, 'utf8')
    .replace(/(<key>CFBundleShortVersionString<\/key>\s*<string>)[^<]*/, '$199'));
  const content = join(bundle, 'Contents/Resources/content');
  mkdirSync(content);
  for (let left = size, at = 0; left > 0; left -= 1 << 20, at += 1) {
    writeFileSync(join(content, String(at)), randomFillSync(Buffer.alloc(Math.min(left, 1 << 20))));
  }
  await run('zip', ['-qr', 'os.zip', 'Orvel OS.app'], { cwd: folder });
  return { folder, path: join(folder, 'os.zip') };
}

const isArchive = ({ url }) => url === '/download/os.zip';

export const updateByApplication = (bench, archive) => withPage(bench, 'heavy', (context) => {
  const { bundle, executable } = copyBundle(bench.application, context.home.folder);
  const information = join(bundle, 'Contents/Info.plist');
  return runApplication(bench, context, isArchive,
    () => readFileSync(information, 'utf8').includes('<string>99</string>'), { executable });
}, archive);

export const updateByTools = (bench, archive) => withPage(bench, 'heavy', (context) =>
  runTools(context, isArchive,
    ['curl', '-sfo', 'os.zip', `${context.address}download/os.zip`],
    ['unzip', '-q', 'os.zip', '-d', 'unpacked']), archive);
