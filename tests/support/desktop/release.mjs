// Releases of the application, made from the user's copy.

import { execFileSync } from 'node:child_process';
import { createHash, generateKeyPairSync, sign } from 'node:crypto';
import {
  cpSync, lstatSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, readlinkSync, rmSync,
  symlinkSync, writeFileSync,
} from 'node:fs';
import { basename, join } from 'node:path';

/// Returns a value of the bundle's Info.plist.
export function plistValue(bundle, key) {
  const text = readFileSync(join(bundle, 'Contents/Info.plist'), 'utf8');
  return new RegExp(`<key>${key}</key>\\s*<string>([^<]*)</string>`).exec(text)?.[1];
}

/// Sets or adds a value in the bundle's Info.plist.
export function setPlistValue(bundle, key, value) {
  const path = join(bundle, 'Contents/Info.plist');
  const old = new RegExp(`\\s*<key>${key}</key>\\s*<string>[^<]*</string>`);
  const entry = `<key>${key}</key><string>${value}</string>`;
  writeFileSync(path, readFileSync(path, 'utf8').replace(old, '')
    .replace(/<\/dict>\s*<\/plist>/, `${entry}</dict></plist>`));
}

/// Returns one text with the names, modes and content hashes of everything in a folder. Two
/// folders with equal texts are equal.
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

/// Returns an archive of the user's application with another version and other values in its
/// Info.plist. `alter` gets the path of the bundle before it is archived, and may change it.
export function makeRelease(user, { version = '1.1', plist = {}, alter = () => {} } = {}) {
  const folder = mkdtempSync(join(user.folder, 'release '));
  const bundle = join(folder, 'Orvel OS.app');
  cpSync(user.bundle, bundle, { recursive: true });
  const values = { CFBundleShortVersionString: version, ...plist };
  for (const [key, value] of Object.entries(values)) setPlistValue(bundle, key, value);
  // A folder, a file and a link that the old bundle lacks.
  mkdirSync(join(bundle, 'Contents/Resources/new'));
  writeFileSync(join(bundle, 'Contents/Resources/new/file'), `of ${version}\n`);
  symlinkSync('file', join(bundle, 'Contents/Resources/new/link'));
  alter(bundle);
  // -y stores symbolic links as links.
  execFileSync('zip', ['-qry', 'archive.zip', basename(bundle)], { cwd: folder });
  const archive = readFileSync(join(folder, 'archive.zip'));
  rmSync(folder, { recursive: true });
  return archive;
}

/// Makes a key pair for updates. The public key has the form of ORVELOSUpdateKey in Info.plist: an
/// uncompressed point (SEC 1, section 2.3.3) in base64.
export function makeUpdateKey() {
  const { privateKey, publicKey } = generateKeyPairSync('ec', { namedCurve: 'P-256' });
  const { x, y } = publicKey.export({ format: 'jwk' });
  const coordinates = [x, y].map((text) => Buffer.from(text, 'base64url'));
  return {
    privateKey,
    publicKey: Buffer.concat([Buffer.from([4]), ...coordinates]).toString('base64'),
  };
}

/// Returns the members of a manifest that sign an archive: `handtekening` (the signature) and, if
/// given, `sleutel` (the public key of the next releases).
export function signatureMembers(
  archive, { privateKey }, version, { edition = 'linux', sleutel } = {},
) {
  const hash = createHash('sha256').update(archive).digest('hex');
  // The signed text of update/signed_release.h. Every line ends with a line feed.
  const lines = ['orvel-os-update', version, edition, hash, ...(sleutel ? [sleutel] : []), ''];
  const signature = sign('sha256', Buffer.from(lines.join('\n')), privateKey);
  return { handtekening: signature.toString('base64'), ...(sleutel && { sleutel }) };
}
