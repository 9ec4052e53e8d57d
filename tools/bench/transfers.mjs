// Measures downloads and updates by the application, and the same with command line tools. All
// times are in milliseconds and count from the first request.

import { execFile } from 'node:child_process';
import { randomFillSync } from 'node:crypto';
import {
  existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, statSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { peakMemory } from '../../tests/support/desktop/processes.mjs';
import {
  makeUpdateKey, plistValue, setPlistValue, signatureMembers,
} from '../../tests/support/desktop/release.mjs';
import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { LARGE_FILE_SIZE, SMALL_FILES, SMALL_FILE_SIZE } from './pages.mjs';
import { ProcessTree } from './process_tree.mjs';
import { findInRecord, onlineServer, wallClock, withHome } from './startup.mjs';
import { copyBundle } from './viewers.mjs';

const run = promisify(execFile);

/// Calls `body({ home, address })` with a server that has this page and release. The home is in the
/// scratch folder.
const withPage = (bench, page, body, release) => withHome(bench, body, {
  base: bench.scratch,
  server: {
    ...onlineServer,
    environment: {
      ORVEL_BENCH_PAGE: page,
      ...release && {
        ORVEL_BENCH_ARCHIVE: release.archive,
        ORVEL_BENCH_MANIFEST: JSON.stringify(release.manifest),
      },
    },
  },
});

const requestTo = (path) => ({ event, url }) => event === 'request' && url === path;

/// Runs the application until `isDone` returns true. Returns the time since the event that
/// `begins` finds in the record of the server, and the peak memory of the main process in MiB.
async function runApplication({ home, address }, executable, begins, isDone, every = 5) {
  home.setServerAddress(address);
  const tree = await ProcessTree.start([executable], home);
  try {
    await waitFor('the end of the transfer', isDone, { timeout: 300_000, every });
    const time = wallClock() - findInRecord(home, begins).time;
    return { time, memory: peakMemory(tree.pid) };
  } finally {
    await tree.kill();
  }
}

/// Runs commands in the Downloads folder. Returns the time since the event that `begins` finds in
/// the record of the server.
async function runTools({ home }, begins, ...commands) {
  for (const [name, ...args] of commands) await run(name, args, { cwd: home.downloads });
  return { time: wallClock() - findInRecord(home, begins).time };
}

/// Returns whether the complete file is at the path. The application gives a download its final
/// name only when it is complete.
const hasSize = (path, size) => existsSync(path) && statSync(path).size === size;

const isLargeFile = requestTo('/api/bestand/large.bin');

const largeByApplication = (bench) => withPage(bench, 'large', (context) => {
  const path = join(context.home.downloads, 'large.bin');
  return runApplication(context, bench.application, isLargeFile,
    () => hasSize(path, LARGE_FILE_SIZE));
});

const largeByCurl = (bench) => withPage(bench, 'large', (context) =>
  runTools(context, isLargeFile, ['curl', '-sfO', `${context.address}api/bestand/large.bin`]));

const isFirstSmallFile = ({ event }) => event === 'first small file';

const smallByApplication = (bench) => withPage(bench, 'small', async (context) => {
  const folder = context.home.downloads;
  const result = await runApplication(context, bench.application, isFirstSmallFile,
    () => readdirSync(folder).length === SMALL_FILES, 20);
  for (const name of readdirSync(folder)) {
    if (!hasSize(join(folder, name), SMALL_FILE_SIZE)) throw new Error(`${name} is incomplete`);
  }
  return result;
});

const smallByCurl = (bench, ...options) => withPage(bench, 'small', (context) => {
  const list = join(context.home.folder, 'list');
  const lines = Array.from({ length: SMALL_FILES }, (_, at) =>
    `url = "${context.address}api/export?${at}"\noutput = "${at}.bin"\n`);
  writeFileSync(list, lines.join(''));
  return runTools(context, isFirstSmallFile, ['curl', '-sf', ...options, '-K', list]);
});

const releaseVersion = '99';

/// Creates a signed release with this many bytes of random content, which does not compress, like
/// programs and images. Returns its folder, archive, manifest and public key.
export async function createRelease(bench, size) {
  const folder = mkdtempSync(join(bench.scratch, 'orvel bench release '));
  const { bundle } = copyBundle(bench.application, folder);
  const key = makeUpdateKey();
  setPlistValue(bundle, 'CFBundleShortVersionString', releaseVersion);
  setPlistValue(bundle, 'ORVELOSUpdateKey', key.publicKey);
  const content = join(bundle, 'Contents/Resources/content');
  mkdirSync(content);
  for (let left = size, at = 0; left > 0; left -= 1 << 20, at += 1) {
    writeFileSync(join(content, String(at)), randomFillSync(Buffer.alloc(Math.min(left, 1 << 20))));
  }
  await run('zip', ['-qr', 'os.zip', 'Orvel OS.app'], { cwd: folder });
  const archive = join(folder, 'os.zip');
  const members = signatureMembers(readFileSync(archive), key, releaseVersion);
  return {
    folder,
    archive,
    manifest: { versie: releaseVersion, zip: 'os.zip', ...members },
    publicKey: key.publicKey,
  };
}

const isArchive = requestTo('/download/os.zip');
const isArchiveSent = ({ event }) => event === 'archive sent';

/// Returns also the time of the download, and the time from its end until unpacking begins, in
/// which a build with a public key verifies the signature.
const updateByApplication = (bench, release, publicKey) => withPage(bench, 'heavy', async (context) => {
  const { home } = context;
  const { bundle, executable } = copyBundle(bench.application, home.folder);
  if (publicKey) setPlistValue(bundle, 'ORVELOSUpdateKey', publicKey);
  const unpacked = join(home.environment.XDG_CACHE_HOME,
    `nl.orvel.os/temporary/orvel-os-update-${releaseVersion}`);
  let unpackingBegan = NaN;
  const result = await runApplication(context, executable, isArchive, () => {
    if (Number.isNaN(unpackingBegan) && existsSync(unpacked)) unpackingBegan = wallClock();
    return plistValue(bundle, 'CFBundleShortVersionString') === releaseVersion;
  }, 1);
  const sent = findInRecord(home, isArchiveSent).time;
  return {
    ...result,
    download: sent - findInRecord(home, isArchive).time,
    beforeUnpacking: unpackingBegan - sent,
  };
}, release);

const updateByTools = (bench, release) => withPage(bench, 'heavy', (context) =>
  runTools(context, isArchive,
    ['curl', '-sfo', 'os.zip', `${context.address}download/os.zip`],
    ['unzip', '-q', 'os.zip', '-d', 'unpacked']), release);

/// The transfers by name, in groups that download the same.
export const downloads = [
  { 'large': largeByApplication, 'large, curl': largeByCurl },
  {
    'small': smallByApplication,
    'small, curl': (bench) => smallByCurl(bench),
    // As the application does.
    'small, curl, new connections': (bench) => smallByCurl(bench, '-H', 'Connection: close'),
  },
];
export const updates = {
  'update': (bench, release) => updateByApplication(bench, release),
  'update, verified': (bench, release) => updateByApplication(bench, release, release.publicKey),
  'update, tools': updateByTools,
};
