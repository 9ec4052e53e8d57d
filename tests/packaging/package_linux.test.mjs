// The Debian package: its contents, whether validators accept it, and its installation, start from
// the desktop entry and removal in an overlay container.

import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import {
  chmodSync, closeSync, cpSync, existsSync, mkdirSync, mkdtempSync, openSync, readFileSync,
  readdirSync, rmSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { kill, markedProcesses } from '../support/desktop/processes.mjs';
import { fingerprint } from '../support/desktop/release.mjs';
import { Screen } from '../support/desktop/screen.mjs';
import { programTimeout, waitFor } from '../support/desktop/wait.mjs';
import { decodePng } from '../support/image.mjs';
import { OverlayContainer } from './overlay_container.mjs';
import { assertFailed, assertSucceeded, runScript } from './script_fixture.mjs';

const sources = fileURLToPath(new URL('../..', import.meta.url));
const packageName = 'orvel-os_1.20.3_amd64.deb';
const bundle = 'usr/lib/orvel-os/Orvel OS.app/Contents';
const entry = 'usr/share/applications/nl.orvel.os.desktop';
const metainfo = 'usr/share/metainfo/nl.orvel.os.metainfo.xml';
const presets = { ORVELOS_VERSION: '1.20.3', ORVELOS_KEY: 'key' };

let folder;
/// What spawnSync returns for the script that made the package.
let packed;
const pack = (...args) => runScript('package-linux.sh', folder, ...args);
before(() => {
  folder = mkdtempSync(join(tmpdir(), 'orvel package '));
  packed = pack(['a folder'], presets);
});
after(() => rmSync(folder, { recursive: true, force: true }));

const path = (...parts) => join(folder, ...parts);
const packageFile = () => path('a folder', packageName);
const controlField = (name) =>
  execFileSync('dpkg-deb', ['-f', packageFile(), name], { encoding: 'utf8' }).trim();
const extract = (file, target) => execFileSync('dpkg-deb', ['-x', file, path(target)]);

/// Returns mode, owner and name of the files and folders in the package; the name of a symbolic
/// link includes its target.
function packageEntries() {
  const list = execFileSync('dpkg-deb', ['-c', packageFile()], { encoding: 'utf8' });
  return list.trim().split('\n').map((line) => {
    const [mode, owner, , , , ...words] = line.split(/\s+/);
    return { mode, owner, name: words.join(' ').replace(/^\.\//, '') };
  });
}

test('the package contains the bundle, the desktop files and the documents', () => {
  assert.equal(assertSucceeded(packed), `package-linux: ${packageFile()}\n`);
  assert.deepEqual(readdirSync(path('a folder')), [packageName]);

  const sizes = [16, 22, 24, 32, 48, 64, 128, 256, 512];
  const icon = (size, ending) => `usr/share/icons/hicolor/${size}/apps/nl.orvel.os.${ending}`;
  const entries = packageEntries();
  assert.deepEqual(entries.filter(({ mode }) => !mode.startsWith('d')).map(({ name }) => name)
    .sort(), [
    `usr/bin/orvel-os -> ../lib/orvel-os/Orvel OS.app/Contents/Linux/orvel-os`,
    `${bundle}/Info.plist`,
    `${bundle}/Linux/orvel-os`,
    `${bundle}/Resources/nl.orvel.os.svg -> ../../../../../share/icons/hicolor/scalable/apps/nl.orvel.os.svg`,
    entry,
    'usr/share/doc/orvel-os/changelog.gz',
    'usr/share/doc/orvel-os/copyright',
    ...sizes.map((size) => icon(`${size}x${size}`, 'png')),
    icon('scalable', 'svg'),
    'usr/share/man/man1/orvel-os.1.gz',
    metainfo,
  ].sort());
  const modes = { l: 'lrwxrwxrwx', d: 'drwxr-xr-x', '-': '-rw-r--r--' };
  for (const { mode, owner, name } of entries) {
    assert.equal(owner, 'root/root', name);
    const isProgram = name === `${bundle}/Linux/orvel-os`;
    assert.equal(mode, isProgram ? '-rwxr-xr-x' : modes[mode[0]], name);
  }

  extract(packageFile(), 'unpacked');
  const information = readFileSync(path('unpacked', bundle, 'Info.plist'), 'utf8');
  assert.match(information, /<key>CFBundleShortVersionString<\/key>\s*<string>1\.20\.3</);
  assert.match(information, /<key>ORVELOSKey<\/key>\s*<string>key</);
  assert.doesNotMatch(information, /ORVELOSURL/);
  for (const link of ['usr/bin/orvel-os', `${bundle}/Resources/nl.orvel.os.svg`]) {
    assert.ok(existsSync(path('unpacked', link)), `${link} is a dangling link`);
  }
  for (const size of sizes) {
    const png = decodePng(readFileSync(path('unpacked', icon(`${size}x${size}`, 'png'))));
    assert.deepEqual([png.width, png.height], [size, size]);
    assert.equal(png.pixel(0, 0)[3], 0, `opacity of the corner of the icon of ${size} pixels`);
    assert.equal(png.pixel(size >> 1, size >> 1)[3], 255,
      `opacity of the centre of the icon of ${size} pixels`);
  }
});

test('the package depends on the libraries that it links and the programs that it runs', () => {
  assert.deepEqual(['Package', 'Version', 'Maintainer'].map(controlField),
    ['orvel-os', '1.20.3', 'Orvel <noreply@orvel.nl>']);
  const packages = controlField('Depends').split(/,\s*/).map((text) => text.split(' ')[0]);
  for (const program of ['zsh', 'lsof', 'procps']) {
    assert.ok(packages.includes(program), `no dependency on ${program}`);
  }
  const executable = path('unpacked', bundle, 'Linux/orvel-os');
  const libraries = execFileSync('objdump', ['-p', executable], { encoding: 'utf8' })
    .match(/(?<=NEEDED\s+)\S+/g);
  assert.ok(libraries.some((library) => library.startsWith('libwebkitgtk-6.0')));
  for (const library of libraries) {
    const owners = execFileSync('dpkg-query', ['-S', `*/${library}`], { encoding: 'utf8' })
      .match(/^[^:]+/gm);
    assert.ok(owners.some((owner) => packages.includes(owner)),
      `no dependency on an owner of ${library}: ${owners}`);
  }
  assert.match(controlField('Recommends'), /nodejs \(>= 18\)/);
});

test('the desktop entry has an English and a Dutch comment and declares a single window', () => {
  const lines = readFileSync(path('unpacked', entry), 'utf8').split('\n');
  for (const line of ['Comment=Your own OS in one window', 'Comment[nl]=Je eigen OS in een venster',
    'SingleMainWindow=true']) assert.ok(lines.includes(line), `no line ${line}`);
});

test('the metainfo names the developer, the homepage and the release', () => {
  const read = (unpacked) => readFileSync(path(unpacked, metainfo), 'utf8');
  assert.match(read('unpacked'), /<developer_name>Orvel<\/developer_name>/);
  assert.match(read('unpacked'), /<url type="homepage">https:\/\/orvel\.nl\/<\/url>/);
  assert.equal(controlField('Homepage'), 'https://orvel.nl/');
  assert.doesNotMatch(read('unpacked'), /@/, 'a placeholder such as @version@ is left');

  // The time is one second before 2000-02-29 in UTC.
  const settings = { ORVELOS_HOMEPAGE: 'https://os.example.org/app', SOURCE_DATE_EPOCH: '951782399' };
  assertSucceeded(pack(['other'], { ...presets, ...settings }));
  extract(path('other', packageName), 'other unpacked');
  assert.match(read('other unpacked'), /<url type="homepage">https:\/\/os\.example\.org\/app<\/url>/);
  assert.match(read('other unpacked'),
    /<releases>\s*<release version="1\.20\.3" date="2000-02-28"\/>\s*<\/releases>/);
});

test('desktop-file-validate, appstreamcli and lintian accept the package', () => {
  // desktop-file-validate 0.26 implements version 1.4 of desktop entries; this key is from 1.5.
  const newKey = '"SingleMainWindow"';
  // appstreamcli also prints hints and its success.
  const accepted = new RegExp(`${newKey}|^I: |Validation was successful`);
  for (const [program, ...args] of [
    ['desktop-file-validate', '--warn-kde', path('unpacked', entry)],
    ['appstreamcli', 'validate', '--no-net', path('unpacked', metainfo)],
    ['lintian', '--no-cfg', '--allow-root', '--fail-on', 'error,warning', packageFile()],
  ]) {
    const { status, stdout, stderr, error } = spawnSync(program, args, { encoding: 'utf8' });
    assert.equal(error, undefined);
    const lines = `${stdout}${stderr}`.split('\n').filter((line) => line);
    assert.deepEqual(lines.filter((line) => !accepted.test(line)), [], program);
    assert.ok(status === 0 || lines.some((line) => line.includes(newKey)), program);
  }
});

test('two packages of the same sources are identical, whatever the time zone and umask', () => {
  assertSucceeded(pack([path('again')], { ...presets, TZ: 'Asia/Tokyo' }, '077'));
  assert.ok(readFileSync(packageFile()).equals(readFileSync(path('again', packageName))));
});

test('wrong arguments and failing tools are reported and leave no file', () => {
  const assertMessage = (message, ...args) => assert.match(assertFailed(pack(...args)), message);
  assertMessage(/^package-linux: usage: /, ['one', 'two']);
  assertMessage(/FOLDER is empty/, ['']);
  writeFileSync(path('file'), '');
  assertMessage(/'.*\/file' is not a folder/, ['file']);
  assertMessage(/is not a number of seconds/, ['none'], { SOURCE_DATE_EPOCH: 'yesterday' });
  for (const ORVELOS_MAINTAINER of ['me', '<me@here.nl>', 'me <me>', 'me <me@here.nl>\nx']) {
    assertMessage(/is not a maintainer; /, ['none'], { ORVELOS_MAINTAINER });
  }
  const homepages = ['orvel.nl', 'file:///', 'https://', 'https://a.nl/|&', 'http://a.nl/?b'];
  for (const ORVELOS_HOMEPAGE of homepages) {
    assertMessage(/is not a homepage; /, ['none'], { ORVELOS_HOMEPAGE });
  }
  assert.ok(!existsSync(path('none')));
  assertMessage(/build-app: '1\.2-beta' is not a version/, ['empty'],
    { ORVELOS_VERSION: '1.2-beta' });
  mkdirSync(path('bin'));
  for (const [fakeCpack, message] of [
    ['echo no space\nexit 1\n', /^no space\npackage-linux: CPack failed\n$/],
    ['', /CPack created no package/],
  ]) {
    writeFileSync(path('bin/cpack'), `#!/bin/sh\n${fakeCpack}`, { mode: 0o755 });
    assertMessage(message, ['empty'], { PATH: `${path('bin')}:${process.env.PATH}` });
  }
  assert.deepEqual(readdirSync(path('empty')), []);
});

// The package database, and caches that package triggers generate, which stay after the removal.
const generatedFiles = [
  /^\/var\/(lib|log|cache)\//, /^\/usr\/share\/applications\/mimeinfo\.cache$/,
  /^\/usr\/share\/icons\/hicolor\/icon-theme\.cache$/,
];

test('the package is installed, started, quit and removed', async (t) => {
  if (process.getuid() !== 0) return t.skip('only root can install a package');
  // Functions that run in reverse order, also after a failure.
  const cleanups = [];
  t.after(async () => {
    for (const cleanUp of cleanups.reverse()) await cleanUp();
  });
  // The path has no blanks, because `gio` and dpkg do not handle them.
  const work = mkdtempSync(join(tmpdir(), 'orvel-installed-'));
  cleanups.push(() => rmSync(work, { recursive: true, force: true }));
  let container;
  try {
    // The container shares `work` with this process.
    container = await OverlayContainer.open(join(work, 'overlay'), work);
  } catch (error) {
    return t.skip(`this machine does not permit an overlay: ${error.message}`);
  }
  cleanups.push(() => container.close());
  const screen = await Screen.open();
  cleanups.push(() => screen.close());
  // The environment variable by which markedProcesses finds the processes of this test.
  const marker = `ORVEL_E2E=${work}`;
  cleanups.push(() => waitFor('the exit of all processes', () => {
    const left = markedProcesses(marker);
    for (const { pid } of left) kill(pid);
    return left.length === 0;
  }));

  const home = join(work, 'home');
  for (const name of ['home', 'runtime']) mkdirSync(join(work, name), { mode: 0o700 });
  const letter = join(home, 'letter.txt');
  writeFileSync(letter, 'of the user');
  const database = readFileSync('/var/lib/dpkg/status');
  cpSync(packageFile(), join(work, packageName));
  assertSucceeded(container.run('dpkg', ['--install', join(work, packageName)]));
  assert.ok(container.changes().includes(`/${entry}`));

  // The application runs as the ordinary user 65534 (nobody), not as the owner of the installed
  // files.
  chmodSync(work, 0o755);
  cpSync(join(sources, 'demo'), join(work, 'demo'), { recursive: true });
  execFileSync('chown', ['-R', '65534:65534', home, join(work, 'runtime'), join(work, 'demo')]);
  const record = join(work, 'demo/record.jsonl');
  const environment = {
    PATH: `${dirname(process.execPath)}:/usr/local/bin:/usr/bin:/bin`,
    LANG: 'C.UTF-8',
    DISPLAY: screen.display,
    HOME: home,
    XDG_RUNTIME_DIR: join(work, 'runtime'),
    DBUS_SESSION_BUS_ADDRESS: 'disabled:',
    ORVEL_OS_ROOT: join(work, 'demo'),
    ORVEL_DEMO_RECORD: record,
    ORVEL_E2E: work,
  };
  const output = openSync(join(work, 'output'), 'w+');
  cleanups.push(() => closeSync(output));
  // The output is a file, because the started application outlives `gio`: it would keep a pipe
  // open, and spawnSync would wait for it.
  const asUser = (...line) => container.run('setpriv',
    ['--reuid=65534', '--regid=65534', '--clear-groups', ...line],
    { env: environment, cwd: home, stdio: ['ignore', output, output], timeout: programTimeout }).status;
  if (asUser('bwrap', '--ro-bind', '/', '/', 'true') !== 0) {
    t.diagnostic('bubblewrap does not work here for an ordinary user: no sandbox');
    environment.WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS = '1';
  }

  assert.equal(asUser('gio', 'launch', `/${entry}`), 0, readFileSync(join(work, 'output'), 'utf8'));
  // Succeeds if the record of the demo server has all steps of a session, or with the option
  // --until-painted those until the page is painted.
  const checkRecord = (...options) => spawnSync(process.execPath,
    [join(sources, 'scripts/demo_report.mjs'), record, ...options], { encoding: 'utf8' });
  await waitFor('a painted page', () => checkRecord('--until-painted').status === 0, { every: 100 });
  const window = await screen.awaitWindow();
  assert.match(await screen.property(window, 'WM_CLASS'), /"nl\.orvel\.os"/);
  assert.match(await screen.property(window, '_NET_WM_ICON'), /Icon \(\d+ x \d+\)/);
  const instances = markedProcesses(marker)
    // GLib 2.74 starts the program of a desktop entry by name, 2.84 by full path.
    .filter(({ command }) => basename(command.split(' ')[0]) === 'orvel-os');
  assert.equal(instances.length, 1, 'running instances of the application');
  // The package is installed in the container only.
  assert.ok(!existsSync(`/${bundle}/Linux/orvel-os`));
  await screen.pressKeys('ctrl+q');
  await waitFor('the exit of the application', () => markedProcesses(marker).length === 0);
  assertSucceeded(checkRecord());

  assert.ok(existsSync(join(home, '.config/nl.orvel.os/defaults.ini')));
  const filesOfUser = fingerprint(home);
  const removal = container.run('dpkg', ['--remove', 'orvel-os']);
  assertSucceeded(removal);
  assert.equal(removal.stderr, '');
  assert.equal(fingerprint(home), filesOfUser);
  assert.equal(readFileSync(letter, 'utf8'), 'of the user');
  const left = container.changes();
  assert.deepEqual(left.filter((file) => /orvel/i.test(file)), []);
  assert.deepEqual(left.filter((file) => !generatedFiles.some((pattern) => pattern.test(file))), []);
  assert.notEqual(container.run('dpkg-query', ['--status', 'orvel-os']).status, 0);
  assert.ok(readFileSync('/var/lib/dpkg/status').equals(database),
    'the package database outside the container has changed');
});
