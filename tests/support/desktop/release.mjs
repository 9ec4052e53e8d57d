// Releases of the application, made from the user's own copy, and how a server
// offers them.

import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import {
  cpSync, lstatSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, readlinkSync, rmSync,
  symlinkSync, writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

/// The entry of a bundle's information as it stands on the disk.
export function plistValue(bundle, key) {
  const text = readFileSync(join(bundle, 'Contents/Info.plist'), 'utf8');
  return new RegExp(`<key>${key}</key>\\s*<string>([^<]*)</string>`).exec(text)?.[1];
}

function setEntry(bundle, key, value) {
  const path = join(bundle, 'Contents/Info.plist');
  const entry = new RegExp(`(<key>${key}</key>\\s*<string>)[^<]*`);
  writeFileSync(path, readFileSync(path, 'utf8').replace(entry, `$1${value}`));
}

/// Everything in a folder, with what it holds and may do, as one text.
export function fingerprint(folder) {
  const lines = readdirSync(folder, { recursive: true }).sort().map((name) => {
    const path = join(folder, name);
    const status = lstatSync(path);
    const mode = status.mode.toString(8);
    if (status.isSymbolicLink()) return `${name} ${mode} ${readlinkSync(path)}`;
    if (!status.isFile()) return `${name} ${mode}`;
    return `${name} ${mode} ${createHash('sha256').update(readFileSync(path)).digest('hex')}`;
  });
  return lines.join('\n');
}

/// An archive of the user's application with another version. `alter` may do
/// to the folder with the bundle in it what it likes first.
export function makeRelease(user, { version = '1.1', identity, alter = () => {} } = {}) {
  const folder = mkdtempSync(join(user.folder, 'uitgave '));
  const bundle = join(folder, 'Orvel OS.app');
  cpSync(user.bundle, bundle, { recursive: true });
  setEntry(bundle, 'CFBundleShortVersionString', version);
  if (identity) setEntry(bundle, 'CFBundleIdentifier', identity);
  mkdirSync(join(bundle, 'Contents/Resources/nieuw'));
  writeFileSync(join(bundle, 'Contents/Resources/nieuw/bestand'), `van ${version}\n`);
  symlinkSync('bestand', join(bundle, 'Contents/Resources/nieuw/wijzer'));
  alter(folder, bundle);
  execFileSync('zip', ['-qry', 'archief.zip', ...readdirSync(folder)], { cwd: folder });
  const archive = readFileSync(join(folder, 'archief.zip'));
  rmSync(folder, { recursive: true });
  return archive;
}

/// What a server answers that has this release.
export function releaseRoutes(versie, archive = Buffer.from('')) {
  return {
    '/download/linux.json': { body: JSON.stringify({ versie, zip: 'orvel-os.zip' }) },
    '/download/orvel-os.zip': archive instanceof Buffer ? { body: archive } : archive,
  };
}
