// The script that builds the application: what it asks of a Mac's tools, in which
// order, and that nothing that fails takes the place of what stood there.

import assert from 'node:assert/strict';
import {
  existsSync, mkdirSync, readFileSync, readdirSync, statSync, writeFileSync,
} from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';

import { macWorkshop } from './script_fixture.mjs';

let workshop;
beforeEach(() => { workshop = macWorkshop(); });
afterEach(() => workshop.remove());

const run = (environment, args = []) => workshop.run('build-app.sh', args, environment);
const app = (...parts) => workshop.path('build/Orvel OS.app', ...parts);
const text = (...parts) => readFileSync(app(...parts), 'utf8').trim();

// The calls, with the folder of the work named WORK.
function calls() {
  return workshop.calls().map((call) =>
    call.map((word) => word.replace(/^.*\/\.build-app-\w+\//, 'WORK/')));
}

function presets(...more) {
  return ['cmake', '--preset', 'release', '-UORVELOS_VERSION', '-UORVELOS_KEY', '-UORVELOS_URL',
    ...more, '-DCMAKE_OSX_ARCHITECTURES=arm64'];
}

const built = [
  ['uname', '-s'],
  ['xcode-select', '-p'],
  presets('-DORVELOS_KEY=', '-DORVELOS_URL='),
  ['cmake', '--build', '--preset', 'release', '--target', 'orvel-os', '--', '--quiet'],
];
const signing = (...identity) => ['codesign', '--force', '--options', 'runtime', '--entitlements',
  'packaging/macos/orvel-os.entitlements', ...identity, 'WORK/Orvel OS.app'];
const verifying = ['codesign', '--verify', '--strict', 'WORK/Orvel OS.app'];
const notarising = (...credentials) => [
  ['ditto', '-c', '-k', '--keepParent', 'WORK/Orvel OS.app', 'WORK/notary.zip'],
  ['xcrun', 'notarytool', 'submit', 'WORK/notary.zip', ...credentials, '--wait'],
  ['xcrun', 'stapler', 'staple', 'WORK/Orvel OS.app'],
  ['xcrun', 'stapler', 'validate', 'WORK/Orvel OS.app'],
];
const certificate = ['--timestamp', '--sign', 'Developer ID Application: Ik (1)'];
const notary = {
  ORVELOS_SIGN_IDENTITY: 'Developer ID Application: Ik (1)', ORVELOS_NOTARY_PROFILE: 'mijn profiel',
};

/// An application that stood there before.
function oldApplication() {
  mkdirSync(app('Contents/MacOS'), { recursive: true });
  writeFileSync(app('Contents/MacOS/Orvel OS'), 'old');
}

function assertOldAlone() {
  assert.equal(text('Contents/MacOS/Orvel OS'), 'old');
  assert.ok(!existsSync(app('Contents/Info.plist')));
  assert.deepEqual(readdirSync(workshop.path('build')).filter((name) => name !== 'release-build'),
    ['Orvel OS.app']);
}

test('a Mac builds, signs ad hoc, verifies, and puts the bundle in its place', () => {
  oldApplication();
  const { status, stdout, stderr } = run();
  assert.equal(status, 0, stderr);
  assert.equal(stdout, `build-app: ${app()}\n`);
  assert.deepEqual(calls(), [...built, signing('--sign', '-'), verifying]);
  assert.equal(text('Contents/MacOS/Orvel OS'), 'new');
  assert.equal(text('Contents/_CodeSignature'), 'seal');
  assert.deepEqual(readdirSync(workshop.path('build')).sort(), ['Orvel OS.app', 'release-build']);
  const { mtime, mode } = statSync(app('Contents/MacOS/Orvel OS'));
  assert.equal(mtime.getFullYear(), 2000);
  assert.equal(mode & 0o111, 0o111);
});

test('the presets come from the environment, and the folder from the command line', () => {
  const { status, stderr } = run({
    ORVELOS_VERSION: '1.20.3', ORVELOS_KEY: "a key's", ORVELOS_URL: 'https://os.voorbeeld.nl/?a=b&c',
  }, ['een map']);
  assert.equal(status, 0, stderr);
  assert.deepEqual(calls()[2], presets("-DORVELOS_KEY=a key's",
    '-DORVELOS_URL=https://os.voorbeeld.nl/?a=b&c', '-DORVELOS_VERSION=1.20.3'));
  assert.ok(existsSync(workshop.path('een map/Orvel OS.app/Contents/_CodeSignature')));
  assert.ok(!existsSync(app()));
});

test('a certificate signs with the time of the signature', () => {
  const { status, stderr } = run({ ORVELOS_SIGN_IDENTITY: certificate[2] });
  assert.equal(status, 0, stderr);
  assert.deepEqual(calls(), [...built, signing(...certificate), verifying]);
});

test('what is notarised gets its ticket before it is put in place', () => {
  const { status, stderr } = run(notary);
  assert.equal(status, 0, stderr);
  assert.deepEqual(calls(), [...built, signing(...certificate), verifying,
    ...notarising('--keychain-profile', 'mijn profiel')]);
  assert.equal(text('Contents/CodeResources'), 'ticket');

  writeFileSync(workshop.path('sleutel.p8'), '');
  const key = {
    ORVELOS_SIGN_IDENTITY: certificate[2], ORVELOS_NOTARY_KEY: 'sleutel.p8',
    ORVELOS_NOTARY_KEY_ID: 'AB12', ORVELOS_NOTARY_ISSUER: '00-11',
  };
  assert.equal(run(key).status, 0);
  assert.deepEqual(calls().slice(-4),
    notarising('--key', 'sleutel.p8', '--key-id', 'AB12', '--issuer', '00-11'));

  for (const name of Object.keys(key).slice(1)) {
    const { status: refused, stderr: why } = run({ ...key, [name]: '' });
    assert.equal(refused, 1);
    assert.equal(why, `build-app: ${name} is missing; notarising by a key needs all three\n`);
  }
  assert.match(run({ ...key, ORVELOS_NOTARY_KEY: 'weg.p8' }).stderr, /no key 'weg\.p8'/);
});

const steps = [
  ['cmake --preset *', 'the build could not be configured'],
  ['cmake --build *', 'the build failed'],
  ['codesign --force *', 'the application could not be signed'],
  ['codesign --verify *', 'the signature does not hold'],
  ['ditto *', 'the application could not be packed for Apple'],
  ['xcrun notarytool *', 'the application could not be handed to Apple: '],
  ['xcrun stapler staple *', "Apple's ticket could not be attached"],
  ['xcrun stapler validate *', "Apple's ticket does not hold"],
];
for (const [call, words] of steps) {
  test(`${call} fails: the application that stood there stays`, () => {
    oldApplication();
    const { status, stdout, stderr } = run({ ...notary, FAILS: call });
    assert.equal(status, 1);
    assert.equal(stdout, '');
    // The tool's own words come before ours.
    assert.match(stderr, new RegExp(`^stand-in: ${call.split(' ')[0]} .*\n`));
    assert.equal(stderr.split('\n').at(-2), `build-app: ${words}`);
    assertOldAlone();
    // Nothing was asked for after it.
    const last = calls().at(-1).join(' ');
    assert.ok(last.startsWith(call.slice(0, -2)), last);
  });
}

test('an application that Apple refuses is not put in place', () => {
  oldApplication();
  const { status, stderr } = run({ ...notary, VERDICT: 'Invalid' });
  assert.equal(status, 1);
  assert.match(stderr, /^build-app: Apple did not accept .*id: 1234\n  status: Invalid\n$/s);
  assert.equal(calls().at(-1)[1], 'notarytool');
  assertOldAlone();
});

test('a build that leaves no program is a failed one', () => {
  oldApplication();
  workshop.program('cmake');
  assert.match(run().stderr, /the build left no 'Contents\/MacOS\/Orvel OS'/);
  assertOldAlone();
});

test('where the new bundle cannot be put in place the old one comes back', () => {
  oldApplication();
  workshop.program('mv', 'exec "${0%/*}/../system/mv" "$@"');
  const { status } = run({ FAILS: 'mv */.build-app-*/Orvel OS.app *' });
  assert.notEqual(status, 0);
  assertOldAlone();
  assert.deepEqual(calls().filter(([name]) => name === 'mv').at(-1).slice(1),
    ['WORK/old.app', app()]);
});

test('what is missing is named before anything is built', () => {
  const missing = [
    ['cmake', {}, 'cmake is not installed; it does not come with Xcode'],
    ['ninja', {}, 'ninja is not installed; it does not come with Xcode'],
    ['codesign', {}, 'codesign is not installed; it is a part of macOS'],
    ['xcrun', notary, 'xcrun is not installed; it is a part of macOS'],
    ['ditto', notary, 'ditto is not installed; it is a part of macOS'],
  ];
  for (const [tool, environment, words] of missing) {
    const other = macWorkshop();
    other.without(tool);
    const { status, stderr } = other.run('build-app.sh', [], environment);
    assert.equal(status, 1);
    assert.equal(stderr, `build-app: ${words}\n`);
    assert.ok(!other.calls().some(([name]) => name === 'cmake'));
    assert.ok(!existsSync(other.path('build')));
    other.remove();
  }
  assert.match(run({ FAILS: 'xcode-select *' }).stderr, /command line tools are not installed/);
  assert.match(run({ ORVELOS_NOTARY_PROFILE: 'p' }).stderr, /ORVELOS_SIGN_IDENTITY is missing/);
  assert.match(run({ ORVELOS_VERSION: '1.2-beta' }).stderr, /a version is numbers/);
  assert.match(run({}, ['']).stderr, /the folder has no name/);
  assert.match(run({}, ['een', 'twee']).stderr, /usage: /);
  writeFileSync(workshop.path('bestand'), '');
  assert.match(run({}, ['bestand']).stderr, /is no folder/);
  workshop.program('uname', 'echo Plan9');
  assert.match(run().stderr, /there is no edition for Plan9/);
  assert.ok(!existsSync(workshop.path('build')));
});

test('Linux builds its own bundle and leaves it in the same place', () => {
  workshop.program('uname', 'echo Linux');
  workshop.program('strip');
  workshop.program('cmake', `
if [ "$1" = --build ]; then
  folder="build/release-build/Orvel OS.app/Contents/Linux"
  mkdir -p "$folder"
  echo new >"$folder/orvel-os"
  chmod +x "$folder/orvel-os"
fi`);
  const { status, stdout, stderr } = run({ ORVELOS_SIGN_IDENTITY: 'of no use here' });
  assert.equal(status, 0, stderr);
  assert.equal(stdout, `build-app: ${app()}\n`);
  assert.deepEqual(calls().map(([name]) => name), ['uname', 'cmake', 'cmake', 'strip']);
  assert.equal(text('Contents/Linux/orvel-os'), 'new');

  assert.match(run({ FAILS: 'cmake *' }).stderr, /configured; scripts\/setup\.sh installs what/);
  const { stderr: why } = run({ FAILS: 'strip *' });
  assert.match(why, /the executable could not be stripped\n$/);
  assert.equal(text('Contents/Linux/orvel-os'), 'new');
  workshop.without('strip');
  assert.equal(run().stderr, 'build-app: strip is not installed; scripts/setup.sh installs it\n');
});

test('the entitlements are written as codesign reads them', () => {
  // It takes no comments, no byte order mark and no carriage returns.
  const bytes = readFileSync(workshop.path('packaging/macos/orvel-os.entitlements'), 'latin1');
  assert.ok(bytes.startsWith('<?xml '));
  assert.doesNotMatch(bytes, /<!--|\r|[^\x00-\x7f]/);
});
