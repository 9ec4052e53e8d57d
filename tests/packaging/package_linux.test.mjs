// The Debian package: what is in it, what those say who judge packages, and that it is
// installed, started from its desktop entry and removed on a machine of the test's own.

import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import {
  chmodSync, closeSync, cpSync, existsSync, mkdirSync, mkdtempSync, openSync, readFileSync,
  readdirSync, rmSync, statSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, dirname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { kill, markedProcesses } from '../support/desktop/processes.mjs';
import { Screen } from '../support/desktop/screen.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { decodePng } from '../support/image.mjs';
import { ThrowawayMachine } from './overlay_container.mjs';

const sources = fileURLToPath(new URL('../..', import.meta.url));
const script = join(sources, 'scripts/package-linux.sh');
const name = 'orvel-os_1.20.3_amd64.deb';
const bundle = 'usr/lib/orvel-os/Orvel OS.app/Contents';
const entry = 'usr/share/applications/nl.orvel.os.desktop';
const metainfo = 'usr/share/metainfo/nl.orvel.os.metainfo.xml';
const presets = {
  ORVELOS_VERSION: '1.20.3', ORVELOS_KEY: 'sleutel', ORVELOS_URL: '', ORVELOS_HOMEPAGE: '',
};

let folder;
let made;
before(() => {
  folder = mkdtempSync(join(tmpdir(), 'orvel package '));
  made = pack(['een map'], presets);
});
after(() => rmSync(folder, { recursive: true, force: true }));

function pack(args, environment = {}, umask = '022') {
  const line = ['-c', `umask ${umask}; exec "$0" "$@"`, script, ...args];
  return spawnSync('bash', line, {
    cwd: folder, encoding: 'utf8', env: { ...process.env, ...environment },
  });
}

const path = (...parts) => join(folder, ...parts);
const field = (text) =>
  execFileSync('dpkg-deb', ['-f', path('een map', name), text], { encoding: 'utf8' }).trim();

/// The files of the package as mode, owner and name, with what a link leads to.
function contents() {
  const list = execFileSync('dpkg-deb', ['-c', path('een map', name)], { encoding: 'utf8' });
  return list.trim().split('\n').map((line) => {
    const [mode, owner, , , , ...words] = line.split(/\s+/);
    return { mode, owner, name: words.join(' ').replace(/^\.\//, '') };
  });
}

test('the package holds the bundle, its place in the menu and its papers', () => {
  assert.equal(made.status, 0, made.stderr);
  assert.equal(made.stdout, `package-linux: ${path('een map', name)}\n`);
  assert.deepEqual(readdirSync(path('een map')), [name]);

  const sizes = [16, 22, 24, 32, 48, 64, 128, 256, 512];
  const icon = (size, ending) => `usr/share/icons/hicolor/${size}/apps/nl.orvel.os.${ending}`;
  assert.deepEqual(contents().filter(({ mode }) => !mode.startsWith('d')).map((file) => file.name)
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
  for (const { mode, owner, name: file } of contents()) {
    assert.equal(owner, 'root/root', file);
    const isProgram = file === `${bundle}/Linux/orvel-os`;
    assert.equal(mode, mode.startsWith('l') ? 'lrwxrwxrwx'
      : mode.startsWith('d') ? 'drwxr-xr-x' : isProgram ? '-rwxr-xr-x' : '-rw-r--r--', file);
  }

  execFileSync('dpkg-deb', ['-x', path('een map', name), path('uitgepakt')]);
  const information = readFileSync(path('uitgepakt', bundle, 'Info.plist'), 'utf8');
  assert.match(information, /<key>CFBundleShortVersionString<\/key>\s*<string>1\.20\.3</);
  assert.match(information, /<key>ORVELOSKey<\/key>\s*<string>sleutel</);
  assert.doesNotMatch(information, /ORVELOSURL/);
  for (const link of ['usr/bin/orvel-os', `${bundle}/Resources/nl.orvel.os.svg`]) {
    assert.ok(existsSync(path('uitgepakt', link)), `${link} leads nowhere`);
  }
  for (const size of sizes) {
    const png = decodePng(readFileSync(path('uitgepakt', icon(`${size}x${size}`, 'png'))));
    assert.deepEqual([png.width, png.height], [size, size]);
    assert.equal(png.pixel(0, 0)[3], 0);
    // The ring is open at the top left, so that the plate shows there.
    assert.equal(png.pixel(size >> 1, size >> 1)[3], 255);
  }
});

test('it needs the libraries it is linked with and the programs it runs', () => {
  assert.deepEqual([field('Package'), field('Version'), field('Maintainer')],
    ['orvel-os', '1.20.3', 'Orvel <noreply@orvel.nl>']);
  const packages = field('Depends').split(/,\s*/).map((text) => text.split(' ')[0]);
  for (const needed of ['zsh', 'lsof', 'procps']) assert.ok(packages.includes(needed), needed);
  // Each library that the program names is owned by one of them.
  const program = path('uitgepakt', bundle, 'Linux/orvel-os');
  const libraries = execFileSync('objdump', ['-p', program], { encoding: 'utf8' })
    .match(/(?<=NEEDED\s+)\S+/g);
  assert.ok(libraries.some((library) => library.startsWith('libwebkitgtk-6.0')));
  for (const library of libraries) {
    const owners = execFileSync('dpkg-query', ['-S', `*/${library}`], { encoding: 'utf8' })
      .match(/^[^:]+/gm);
    assert.ok(owners.some((owner) => packages.includes(owner)), `${library}: ${owners}`);
  }
  assert.match(field('Recommends'), /nodejs \(>= 18\)/);
});

test('the desktop entry has an English and a Dutch comment and a single window', () => {
  const lines = readFileSync(path('uitgepakt', entry), 'utf8').split('\n');
  for (const line of ['Comment=Your own OS in one window', 'Comment[nl]=Je eigen OS in een venster',
    'SingleMainWindow=true']) assert.ok(lines.includes(line), line);
});

test('the metainfo names the developer, the homepage and the release', () => {
  const read = (folderName) => readFileSync(path(folderName, metainfo), 'utf8');
  assert.match(read('uitgepakt'), /<developer_name>Orvel<\/developer_name>/);
  assert.match(read('uitgepakt'), /<url type="homepage">https:\/\/orvel\.nl\/<\/url>/);
  assert.equal(field('Homepage'), 'https://orvel.nl/');
  assert.doesNotMatch(read('uitgepakt'), /@/);

  const settings = { ORVELOS_HOMEPAGE: 'https://os.example.org/app', SOURCE_DATE_EPOCH: '951782399' };
  const other = pack(['other'], { ...presets, ...settings });
  assert.equal(other.status, 0, other.stderr);
  execFileSync('dpkg-deb', ['-x', path('other', name), path('other unpacked')]);
  assert.match(read('other unpacked'), /<url type="homepage">https:\/\/os\.example\.org\/app<\/url>/);
  assert.match(read('other unpacked'),
    /<releases>\s*<release version="1\.20\.3" date="2000-02-28"\/>\s*<\/releases>/);
});

test('the validators and lintian find nothing to warn of', () => {
  const judge = (program, args, isKnown = () => false) => {
    const { status, stdout, stderr, error } = spawnSync(program, args, { encoding: 'utf8' });
    assert.equal(error, undefined);
    const lines = `${stdout}${stderr}`.split('\n').filter((line) => line);
    const unknown = lines.filter((line) => !isKnown(line));
    if (unknown.length === lines.length || unknown.length > 0) {
      assert.equal(status, 0, `${program}: ${lines.join('\n')}`);
    }
  };
  // desktop-file-validate 0.26 knows desktop entries up to version 1.4; this key came with 1.5.
  judge('desktop-file-validate', ['--warn-kde', path('uitgepakt', entry)],
    (line) => line.includes('"SingleMainWindow"'));
  judge('appstreamcli', ['validate', '--no-net', path('uitgepakt', metainfo)]);
  judge('lintian', ['--no-cfg', '--allow-root', '--fail-on', 'error,warning',
    path('een map', name)]);
});

test('the same sources give the same bytes', () => {
  const again = pack([path('twee')], { ...presets, TZ: 'Asia/Tokyo' }, '077');
  assert.equal(again.status, 0, again.stderr);
  assert.ok(readFileSync(path('een map', name)).equals(readFileSync(path('twee', name))));
});

test('what is wrong is named, and nothing is left', () => {
  const refused = (words, args, environment) => {
    const { status, stdout, stderr } = pack(args, environment);
    assert.equal(status, 1);
    assert.equal(stdout, '');
    assert.match(stderr, words);
  };
  refused(/^package-linux: usage: /, ['een', 'twee']);
  refused(/the folder has no name/, ['']);
  writeFileSync(path('bestand'), '');
  refused(/'.*\/bestand' is no folder/, ['bestand']);
  refused(/no number of seconds/, ['weg'], { SOURCE_DATE_EPOCH: 'gisteren' });
  for (const maintainer of ['ik', '<ik@hier.nl>', 'ik <ik>', 'ik <ik@hier.nl>\nx']) {
    refused(/a maintainer is a name and an address/, ['weg'], { ORVELOS_MAINTAINER: maintainer });
  }
  for (const homepage of ['orvel.nl', 'file:///', 'https://', 'https://a.nl/|&', 'http://a.nl/?b']) {
    refused(/a homepage is an http or https address/, ['weg'], { ORVELOS_HOMEPAGE: homepage });
  }
  assert.ok(!existsSync(path('weg')));
  refused(/build-app: a version is numbers/, ['leeg'], { ORVELOS_VERSION: '1.2-beta' });
  mkdirSync(path('programma'));
  const environment = { PATH: `${path('programma')}:${process.env.PATH}` };
  writeFileSync(path('programma/cpack'), '#!/bin/sh\necho geen zin\nexit 1\n', { mode: 0o755 });
  refused(/^geen zin\npackage-linux: the package could not be made\n$/, ['leeg'], environment);
  writeFileSync(path('programma/cpack'), '#!/bin/sh\n', { mode: 0o755 });
  refused(/CPack left no package/, ['leeg'], environment);
  assert.deepEqual(readdirSync(path('leeg')), []);
});

// The database of packages and what package triggers gather from all of them.
const kept = [
  /^\/var\/(lib|log|cache)\//, /^\/usr\/share\/applications\/mimeinfo\.cache$/,
  /^\/usr\/share\/icons\/hicolor\/icon-theme\.cache$/,
];

/// The files below a folder with their texts.
function filesBelow(place) {
  return Object.fromEntries(readdirSync(place, { recursive: true })
    .filter((file) => statSync(join(place, file)).isFile())
    .map((file) => [file, readFileSync(join(place, file), 'latin1')]));
}

test('installed, started from the menu, quit and removed', { timeout: 120_000 }, async (t) => {
  if (process.getuid() !== 0) return t.skip('only root can install a package');
  // The last that was made goes first, whatever became of the test.
  const undoing = [];
  t.after(async () => {
    for (const undo of undoing.reverse()) await undo();
  });
  // Whoever breaks off the test does not have to clean up: nothing here waits.
  let breakOff = () => {};
  for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) {
    process.on(signal, () => {
      breakOff();
      process.exit(1);
    });
  }
  // Without blanks: `gio` and the tools of packages get their paths by way of files.
  const work = mkdtempSync(join(tmpdir(), 'orvel-installed-'));
  undoing.push(() => rmSync(work, { recursive: true, force: true }));
  let machine;
  try {
    machine = await ThrowawayMachine.open(join(work, 'machine'), work);
  } catch (error) {
    return t.skip(`this machine does not permit a layer over it: ${error.message}`);
  }
  undoing.push(() => machine.close());
  const screen = await Screen.open();
  undoing.push(() => screen.close());
  const marker = `ORVEL_E2E=${work}`;
  undoing.push(() => waitFor('the end of all processes', () => {
    const left = markedProcesses(marker);
    for (const { pid } of left) kill(pid);
    return left.length === 0;
  }));

  breakOff = () => {
    for (const { pid } of markedProcesses(marker)) kill(pid);
    screen.end();
    kill(machine.process.pid);
    for (const place of [screen.folder, work, folder]) {
      rmSync(place, { recursive: true, force: true });
    }
  };

  const database = readFileSync('/var/lib/dpkg/status');
  cpSync(path('een map', name), join(work, name));
  const install = machine.run('dpkg', ['--install', join(work, name)]);
  assert.equal(install.status, 0, install.stderr);
  assert.ok(machine.changes().includes(`/${entry}`));

  // An ordinary user, who owns nothing of what was installed.
  const home = join(work, 'home');
  chmodSync(work, 0o755);
  for (const place of [home, join(work, 'runtime')]) mkdirSync(place, { mode: 0o700 });
  writeFileSync(join(home, 'brief.txt'), 'van de gebruiker');
  cpSync(join(sources, 'demo'), join(work, 'demo'), { recursive: true });
  execFileSync('chown', ['-R', '65534:65534', home, join(work, 'runtime'), join(work, 'demo')]);
  const output = openSync(join(work, 'output'), 'w+');
  undoing.push(() => closeSync(output));
  // What is started keeps the output after its starter has ended: no pipe to wait for.
  const asUser = (...line) => machine.run('setpriv',
    ['--reuid=65534', '--regid=65534', '--clear-groups', ...line],
    { env: environment, cwd: home, stdio: ['ignore', output, output], timeout: 20_000 }).status;
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
  if (asUser('bwrap', '--ro-bind', '/', '/', 'true') !== 0) {
    t.diagnostic('bubblewrap cannot work here for an ordinary user: no sandbox');
    environment.WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS = '1';
  }

  assert.equal(asUser('gio', 'launch', `/${entry}`), 0, readFileSync(join(work, 'output'), 'utf8'));
  const report = (...options) => spawnSync(process.execPath,
    [join(sources, 'scripts/demo_report.mjs'), record, ...options], { encoding: 'utf8' });
  await waitFor('a painted page', () => report('--until-painted').status === 0,
    { every: 100, timeout: 40_000 });
  const window = await screen.awaitWindow();
  assert.match(await screen.property(window, 'WM_CLASS'), /"nl\.orvel\.os"/);
  assert.match(await screen.property(window, '_NET_WM_ICON'), /Icon \(\d+ x \d+\)/);
  const programs = markedProcesses(marker)
    // GLib 2.74 starts an entry's program by its name, 2.84 by its full path.
    .filter(({ command }) => basename(command.split(' ')[0]) === 'orvel-os');
  assert.equal(programs.length, 1);
  // The machine here has no such program.
  assert.ok(!existsSync(`/${bundle}/Linux/orvel-os`));
  if (process.env.ORVEL_E2E_SCREENSHOTS) {
    mkdirSync(process.env.ORVEL_E2E_SCREENSHOTS, { recursive: true });
    await screen.saveScreenshot(join(process.env.ORVEL_E2E_SCREENSHOTS, 'package.png'));
  }
  await screen.pressKeys('ctrl+q');
  await waitFor('the end of the application', () => markedProcesses(marker).length === 0);
  assert.equal(report().status, 0, report().stderr);

  const data = filesBelow(home);
  assert.equal(data['brief.txt'], 'van de gebruiker');
  assert.ok(data['.config/nl.orvel.os/defaults.ini']);
  const remove = machine.run('dpkg', ['--remove', 'orvel-os']);
  assert.equal(remove.status, 0, remove.stderr);
  assert.equal(remove.stderr, '');
  assert.deepEqual(filesBelow(home), data);
  const left = machine.changes();
  assert.deepEqual(left.filter((file) => /orvel/i.test(file)), []);
  assert.deepEqual(left.filter((file) => !kept.some((pattern) => pattern.test(file))), []);
  assert.notEqual(machine.run('dpkg-query', ['--status', 'orvel-os']).status, 0);
  assert.ok(readFileSync('/var/lib/dpkg/status').equals(database));
});
