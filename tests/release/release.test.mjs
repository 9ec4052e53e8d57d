// release.sh: its files, the reproducible build, and that a failure leaves no file.

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

/// Runs the script under this umask, which only a shell can set for a child, and returns what
/// spawnSync returns.
function run(args, environment = {}, umask = '022') {
  const line = ['-c', `umask ${umask}; exec "$0" "$@"`, script, ...args];
  return spawnSync('bash', line, {
    cwd: folder, encoding: 'utf8', env: { ...process.env, ...environment },
  });
}

/// Returns the entries of an archive as printed by zipinfo.
function entries(archive) {
  const lines = execFileSync('zipinfo', ['-T', '-h', '-s', archive], { encoding: 'utf8' });
  return lines.split('\n').filter((line) => /^[-dl]r/.test(line)).map((line) => {
    const [mode, , , , flags, , time, ...name] = line.split(/\s+/);
    return { mode, flags, time, name: name.join(' ') };
  });
}

test('a release is a reproducible archive and its manifest', () => {
  const first = run(['1.20.3', 'first'], { ORVELOS_URL: 'https://os.example.org/' });
  assert.equal(first.status, 0, first.stderr);
  assert.deepEqual(readdirSync(join(folder, 'first')), ['linux.json', 'orvel-os-1.20.3.zip']);
  assert.equal(readFileSync(join(folder, 'first/linux.json'), 'utf8'),
    '{"versie": "1.20.3", "zip": "orvel-os-1.20.3.zip"}\n');

  const archive = join(folder, 'first/orvel-os-1.20.3.zip');
  const files = entries(archive);
  assert.deepEqual(files.map(({ name }) => name), files.map(({ name }) => name).sort());
  for (const { mode, flags, name } of files) {
    const isProgram = name === 'Orvel OS.app/Contents/Linux/orvel-os';
    assert.equal(mode, name.endsWith('/') ? 'drwxr-xr-x' : isProgram ? '-rwxr-xr-x' : '-rw-r--r--');
    // zipinfo prints "-" as the second letter for an entry without extra fields.
    assert.match(flags, /^.-$/);
  }
  assert.equal(new Set(files.map(({ time }) => time)).size, 1);

  execFileSync('unzip', ['-q', archive, '-d', join(folder, 'unpacked')]);
  const app = join(folder, 'unpacked/Orvel OS.app/Contents');
  const information = readFileSync(join(app, 'Info.plist'), 'utf8');
  assert.match(information, /<key>CFBundleShortVersionString<\/key>\s*<string>1\.20\.3</);
  assert.match(information, /<key>ORVELOSURL<\/key>\s*<string>https:\/\/os\.example\.org\/</);
  assert.doesNotMatch(information, /ORVELOSKey/);

  const again = run(['1.20.3', join(folder, 'second')],
    { ORVELOS_URL: 'https://os.example.org/', TZ: 'Asia/Tokyo', ZIPOPT: '-0' }, '077');
  assert.equal(again.status, 0, again.stderr);
  for (const name of ['linux.json', 'orvel-os-1.20.3.zip']) {
    const bytes = (where) => readFileSync(join(folder, where, name));
    assert.ok(bytes('first').equals(bytes('second')), `${name} differs`);
  }

  const later = run(['1.20.3', 'third'], {
    ORVELOS_URL: 'https://os.example.org/', SOURCE_DATE_EPOCH: '1700000000',
  });
  assert.equal(later.status, 0, later.stderr);
  assert.equal(entries(join(folder, 'third/orvel-os-1.20.3.zip'))[0].time, '20231114.221320');
});

test('wrong versions and arguments are reported and leave no file', () => {
  const versions = ['', ' ', '1.', '.1', '1..2', '1.2-beta', 'v1', '1 2', '1/2', '../1', "1'2",
    '1"2', '1\n2', '-1', '+1', '1.2\n', '9'.repeat(19), '1.' + '0'.repeat(19), '$(id)', '١'];
  for (const version of versions) {
    const { status, stderr } = run([version, 'none']);
    assert.equal(status, 1, version);
    assert.match(stderr, /^release: '.*' is not a version; use numbers of at most 18 digits/s, version);
  }
  for (const args of [[], ['1.1', 'none', 'more']]) {
    const { status, stderr } = run(args);
    assert.equal(status, 1);
    assert.match(stderr, /^release: usage: /);
  }
  writeFileSync(join(folder, 'file'), 'not a folder');
  assert.match(run(['1.1', 'file']).stderr, /is not a folder/);
  assert.match(run(['1.1', '']).stderr, /FOLDER is empty/);
  assert.match(run(['1.1', 'none'], { SOURCE_DATE_EPOCH: 'yesterday' }).stderr,
    /is not a number of seconds/);
  assert.ok(!existsSync(join(folder, 'none')));
});

test('a failing tool leaves no file', () => {
  const programs = join(folder, 'bin');
  mkdirSync(programs);
  const failing = (name, text) =>
    writeFileSync(join(programs, name), `#!/bin/sh\n${text}\nexit 1\n`, { mode: 0o755 });
  const environment = { PATH: `${programs}:${process.env.PATH}` };

  failing('cmake', '');
  assert.equal(run(['1.1', 'failed'], environment).status, 1);
  assert.ok(!existsSync(join(folder, 'failed')));
  rmSync(join(programs, 'cmake'));

  failing('zip', 'echo half >"$4"');
  assert.equal(run(['1.1', 'failed'], environment).status, 1);
  assert.deepEqual(readdirSync(join(folder, 'failed')), []);
});
