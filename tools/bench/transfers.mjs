// Measures downloads and updates by the application, and the same with command line tools. All
// times are in milliseconds and count from the first request.

import { execFile } from 'node:child_process';
import { randomBytes } from 'node:crypto';
import {
  existsSync, mkdirSync, mkdtempSync, readdirSync, statSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';
import { promisify } from 'node:util';

import { peakMemory } from '../../tests/support/desktop/processes.mjs';
import {
  makeRelease, makeUpdateKey, plistValue, setPlistValue, signatureMembers,
} from '../../tests/support/desktop/release.mjs';
import { waitFor } from '../../tests/support/desktop/wait.mjs';
import { LARGE_FILE_SIZE, SMALL_FILES, SMALL_FILE_SIZE } from './pages.mjs';
import { ProcessTree } from './process_tree.mjs';
import { findInRecord, onlineServer, wallClock, withHome } from './startup.mjs';
import { bundleOf, copyBundle } from './viewers.mjs';

const run = promisify(execFile);

/// Calls `body({ home, address })` with a server that has this page and these additional
/// environment variables. The home is in the scratch folder.
const withPage = (bench, page, body, environment) => withHome(bench, body, {
  base: bench.scratch,
  server: { ...onlineServer, environment: { ORVEL_BENCH_PAGE: page, ...environment } },
});

const requestTo = (path) => ({ event, url }) => event === 'request' && url === path;

/// Runs the application until `isDone`, called every `interval` ms, returns true. Returns the time
/// since the event in the record of the server for which `isFirst` returns true, and the peak
/// memory of the main process in MiB.
async function runApplication({ home, address }, executable, isFirst, isDone, interval = 5) {
  home.setServerAddress(address);
  const tree = await ProcessTree.start([executable], home);
  try {
    await waitFor('the end of the transfer', isDone, { timeout: 300_000, every: interval });
    const time = wallClock() - findInRecord(home, isFirst).time;
    return { time, memory: peakMemory(tree.pid) };
  } finally {
    await tree.kill();
  }
}

/// Runs commands in the Downloads folder, one after the other. Returns the time since the event in
/// the record of the server for which `isFirst` returns true.
async function runTools({ home }, isFirst, ...commands) {
  for (const [name, ...args] of commands) await run(name, args, { cwd: home.downloads });
  return { time: wallClock() - findInRecord(home, isFirst).time };
}

/// Returns whether a file of this size is at the path. The application gives a download its final
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
  const lines = Array.from({ length: SMALL_FILES }, (_, number) =>
    `url = "${context.address}api/export?${number}"\noutput = "${number}.bin"\n`);
  writeFileSync(list, lines.join(''));
  return runTools(context, isFirstSmallFile, ['curl', '-sf', ...options, '-K', list]);
});

/// Later than the version of the measured application.
const releaseVersion = '99';

/// Creates a signed release with 200 MiB of random content, which does not compress, like programs
/// and images. Returns its folder, its public key, and the environment of a server that offers it.
export function createRelease(bench) {
  const folder = mkdtempSync(join(bench.scratch, 'orvel bench release '));
  const key = makeUpdateKey();
  const bytes = makeRelease({ folder, bundle: bundleOf(bench.application) }, {
    version: releaseVersion,
    plist: { ORVELOSUpdateKey: key.publicKey },
    alter(bundle) {
      const content = join(bundle, 'Contents/Resources/content');
      mkdirSync(content);
      for (let number = 0; number < 200; number += 1) {
        writeFileSync(join(content, String(number)), randomBytes(1 << 20));
      }
    },
  });
  const archive = join(folder, 'os.zip');
  writeFileSync(archive, bytes);
  const members = signatureMembers(bytes, key, releaseVersion);
  return {
    folder,
    publicKey: key.publicKey,
    serverEnvironment: {
      ORVEL_BENCH_ARCHIVE: archive,
      ORVEL_BENCH_MANIFEST: JSON.stringify({ versie: releaseVersion, zip: 'os.zip', ...members }),
    },
  };
}

const isArchive = requestTo('/download/os.zip');
const isArchiveSent = ({ event }) => event === 'archive sent';

/// Updates the application to the release of createRelease. If `hasKey`, the application has the
/// public key, and verifies the signature between the download and the unpacking. Returns what
/// runApplication returns, the time of the download, and the time from its end until the unpacking
/// begins. The page that is shown meanwhile is not measured.
function updateByApplication(bench, release, { hasKey = false, megabits = 'Infinity' } = {}) {
  return withPage(bench, 'heavy', async (context) => {
    const { home } = context;
    const { bundle, executable } = copyBundle(bench.application, home.folder);
    if (hasKey) setPlistValue(bundle, 'ORVELOSUpdateKey', release.publicKey);
    // The application creates this folder just before it unpacks the archive.
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
  }, { ...release.serverEnvironment, ORVEL_BENCH_MEGABITS: megabits });
}

const updateByTools = (bench, { serverEnvironment }) => withPage(bench, 'heavy', (context) =>
  runTools(context, isArchive,
    ['curl', '-sfo', 'os.zip', `${context.address}download/os.zip`],
    ['unzip', '-q', 'os.zip', '-d', 'unpacked']), serverEnvironment);

/// The downloads by name, in groups with the same content.
export const downloads = [
  { 'large': largeByApplication, 'large, curl': largeByCurl },
  {
    'small': smallByApplication,
    'small, curl': (bench) => smallByCurl(bench),
    // With a connection for each file, like the application.
    'small, curl, new connections': (bench) => smallByCurl(bench, '-H', 'Connection: close'),
  },
];
/// The updates by name.
export const updates = {
  'update': updateByApplication,
  'update, verified': (bench, release) => updateByApplication(bench, release, { hasKey: true }),
  // Without the limit, the download over loopback is several times faster than over a network.
  'update, verified, 500 Mbit/s': (bench, release) =>
    updateByApplication(bench, release, { hasKey: true, megabits: '500' }),
  'update, tools': updateByTools,
};
