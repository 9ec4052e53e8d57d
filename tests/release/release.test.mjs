// The release script: what it leaves, that it leaves the same twice, and that it
// leaves nothing where it refuses.

import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import {
  existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

const script = fileURLToPath(new URL('../../scripts/release.sh', import.meta.url));

let folder;
before(() => { folder = mkdtempSync(join(tmpdir(), 'orvel release ')); });
after(() => rmSync(folder, { recursive: true }));

function run(args, environment = {}, umask = '022') {
  // Through a shell, which alone can set the mask of a child.
  const line = ['-c', `umask ${umask}; exec "$0" "$@"`, script, ...args];
  return spawnSync('bash', line, {
    cwd: folder, encoding: 'utf8', env: { ...process.env, ...environment },
  });
}

/// The entries of an archive as zipinfo tells them: mode, size, time, name.
function entries(archive) {
  const lines = execFileSync('zipinfo', ['-T', '-h', '-s', archive], { encoding: 'utf8' });
  return lines.split('\n').filter((line) => /^[-dl]r/.test(line)).map((line) => {
    const [mode, , , size, flags, , time, ...name] = line.split(/\s+/);
    return { mode, size: Number(size), flags, time, name: name.join(' ') };
  });
}

test('a release is an archive and its manifest, the same each time', () => {
  const first = run(['1.20.3', 'een'], { ORVELOS_URL: 'https://os.voorbeeld.nl/' });
  assert.equal(first.status, 0, first.stderr);
  assert.deepEqual(readdirSync(join(folder, 'een')), ['linux.json', 'orvel-os-1.20.3.zip']);
  assert.equal(readFileSync(join(folder, 'een/linux.json'), 'utf8'),
    '{"versie": "1.20.3", "zip": "orvel-os-1.20.3.zip"}\n');

  const archive = join(folder, 'een/orvel-os-1.20.3.zip');
  const packed = entries(archive);
  assert.deepEqual(packed.map(({ name }) => name), packed.map(({ name }) => name).sort());
  for (const { mode, flags, name } of packed) {
    const isProgram = name === 'Orvel OS.app/Contents/Linux/orvel-os';
    assert.equal(mode, name.endsWith('/') ? 'drwxr-xr-x' : isProgram ? '-rwxr-xr-x' : '-rw-r--r--');
    // The second letter stands for extra fields.
    assert.match(flags, /^.-$/);
  }
  assert.equal(new Set(packed.map(({ time }) => time)).size, 1);

  execFileSync('unzip', ['-q', archive, '-d', join(folder, 'uitgepakt')]);
  const app = join(folder, 'uitgepakt/Orvel OS.app/Contents');
  const information = readFileSync(join(app, 'Info.plist'), 'utf8');
  assert.match(information, /<key>CFBundleShortVersionString<\/key>\s*<string>1\.20\.3</);
  assert.match(information, /<key>ORVELOSURL<\/key>\s*<string>https:\/\/os\.voorbeeld\.nl\/</);
  assert.doesNotMatch(information, /ORVELOSKey/);

  const again = run(['1.20.3', join(folder, 'twee')],
    { ORVELOS_URL: 'https://os.voorbeeld.nl/', TZ: 'Asia/Tokyo', ZIPOPT: '-0' }, '077');
  assert.equal(again.status, 0, again.stderr);
  for (const name of ['linux.json', 'orvel-os-1.20.3.zip']) {
    const bytes = (where) => readFileSync(join(folder, where, name));
    assert.ok(bytes('een').equals(bytes('twee')), `${name} differs`);
  }

  const later = run(['1.20.3', 'drie'], {
    ORVELOS_URL: 'https://os.voorbeeld.nl/', SOURCE_DATE_EPOCH: '1700000000',
  });
  assert.equal(later.status, 0, later.stderr);
  assert.equal(entries(join(folder, 'drie/orvel-os-1.20.3.zip'))[0].time, '20231114.221320');
});

test('what is no version is refused, and nothing is left', () => {
  const versions = ['', ' ', '1.', '.1', '1..2', '1.2-beta', 'v1', '1 2', '1/2', '../1', "1'2",
    '1"2', '1\n2', '-1', '+1', '1.2\n', '9'.repeat(19), '1.' + '0'.repeat(19), '$(id)', '١'];
  for (const version of versions) {
    const { status, stderr } = run([version, 'geweigerd']);
    assert.equal(status, 1, version);
    assert.match(stderr, /^release: a version is numbers of at most 18 digits/, version);
  }
  for (const args of [[], ['1.1', 'geweigerd', 'meer']]) {
    const { status, stderr } = run(args);
    assert.equal(status, 1);
    assert.match(stderr, /^release: usage: /);
  }
  writeFileSync(join(folder, 'bestand'), 'geen map');
  assert.match(run(['1.1', 'bestand']).stderr, /is no folder/);
  assert.match(run(['1.1', '']).stderr, /the folder has no name/);
  assert.match(run(['1.1', 'geweigerd'], { SOURCE_DATE_EPOCH: 'gisteren' }).stderr,
    /no number of seconds/);
  assert.ok(!existsSync(join(folder, 'geweigerd')));
});

test('a step that fails leaves nothing', () => {
  const programs = join(folder, 'programma');
  mkdirSync(programs);
  const failing = (name, text) =>
    writeFileSync(join(programs, name), `#!/bin/sh\n${text}\nexit 1\n`, { mode: 0o755 });
  const environment = { PATH: `${programs}:${process.env.PATH}` };

  failing('cmake', '');
  assert.equal(run(['1.1', 'mislukt'], environment).status, 1);
  assert.ok(!existsSync(join(folder, 'mislukt')));
  rmSync(join(programs, 'cmake'));

  failing('zip', 'echo half >"$4"');
  assert.equal(run(['1.1', 'mislukt'], environment).status, 1);
  assert.deepEqual(readdirSync(join(folder, 'mislukt')), []);
});
