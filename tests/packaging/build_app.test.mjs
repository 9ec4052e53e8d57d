// build-app.sh with fake tools: signing, notarisation and every failure on macOS. On a hosted Mac,
// .github/workflows/check.yml runs the script with the real tools and an ad hoc signature.
// release.test.mjs and package_linux.test.mjs run it on Linux.

import assert from 'node:assert/strict';
import {
  existsSync, mkdirSync, readFileSync, readdirSync, statSync, writeFileSync,
} from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';

import { assertFailed, assertSucceeded, macFixture } from './script_fixture.mjs';

let fixture;
beforeEach(() => { fixture = macFixture(); });
afterEach(() => fixture.remove());

const run = (environment, args = []) => fixture.run('build-app.sh', args, environment);
const app = (...parts) => fixture.path('build/Orvel OS.app', ...parts);
const readAppFile = (...parts) => readFileSync(app(...parts), 'utf8').trim();

/// Returns and clears the recorded calls, with the temporary folder of the script replaced by WORK.
function takeCalls() {
  return fixture.takeCalls().map((call) =>
    call.map((word) => word.replace(/^.*\/\.build-app-\w+\//, 'WORK/')));
}

const buildCalls = [
  ['uname', '-s'],
  ['xcode-select', '-p'],
  ['cmake', '--preset', 'release', '-UORVELOS_VERSION', '-UORVELOS_KEY', '-UORVELOS_URL',
    '-UORVELOS_UPDATE_KEY', '-DORVELOS_KEY=', '-DORVELOS_URL=', '-DORVELOS_UPDATE_KEY=',
    '-DCMAKE_OSX_ARCHITECTURES=arm64'],
  ['cmake', '--build', '--preset', 'release', '--target', 'orvel-os', '--', '--quiet'],
];
const signCalls = [
  ['xattr', '-cr', 'WORK/Orvel OS.app'],
  ['codesign', '--force', '--options', 'runtime', '--entitlements',
    'packaging/macos/orvel-os.entitlements', '--timestamp', '--sign',
    'Developer ID Application: Me (1)', 'WORK/Orvel OS.app'],
  ['codesign', '--verify', '--strict', 'WORK/Orvel OS.app'],
];
const notaryCalls = (...credentials) => [
  ['ditto', '-c', '-k', '--keepParent', 'WORK/Orvel OS.app', 'WORK/notary.zip'],
  ['xcrun', 'notarytool', 'submit', 'WORK/notary.zip', ...credentials, '--wait'],
  ['xcrun', 'stapler', 'staple', 'WORK/Orvel OS.app'],
  ['xcrun', 'stapler', 'validate', 'WORK/Orvel OS.app'],
  ['spctl', '--assess', '--type', 'execute', 'WORK/Orvel OS.app'],
];
const certificate = { ORVELOS_SIGN_IDENTITY: 'Developer ID Application: Me (1)' };
const notary = { ...certificate, ORVELOS_NOTARY_PROFILE: 'my profile' };

function createOldApplication() {
  mkdirSync(app('Contents/MacOS'), { recursive: true });
  writeFileSync(app('Contents/MacOS/Orvel OS'), 'old');
}

function assertOnlyOldApplication() {
  assert.equal(readAppFile('Contents/MacOS/Orvel OS'), 'old');
  assert.ok(!existsSync(app('Contents/Info.plist')));
  assert.deepEqual(readdirSync(fixture.path('build')).filter((name) => name !== 'release-build'),
    ['Orvel OS.app']);
}

test('the bundle is signed, notarised and stapled before it replaces the old one', () => {
  createOldApplication();
  assert.equal(assertSucceeded(run(notary)), `build-app: ${app()}\n`);
  assert.deepEqual(takeCalls(),
    [...buildCalls, ...signCalls, ...notaryCalls('--keychain-profile', 'my profile')]);
  assert.equal(readAppFile('Contents/MacOS/Orvel OS'), 'new');
  assert.equal(readAppFile('Contents/_CodeSignature'), 'signature');
  assert.equal(readAppFile('Contents/CodeResources'), 'ticket');
  assert.deepEqual(readdirSync(fixture.path('build')).sort(), ['Orvel OS.app', 'release-build']);
  const { mtime, mode } = statSync(app('Contents/MacOS/Orvel OS'));
  // The old date makes a build with the preset "default", which writes to the same path, link its
  // own executable again.
  assert.equal(mtime.getFullYear(), 2000);
  assert.equal(mode & 0o111, 0o111);
});

test('an App Store Connect key notarises; without its file, ID or issuer it is an error', () => {
  writeFileSync(fixture.path('key.p8'), '');
  const key = {
    ORVELOS_NOTARY_KEY: 'key.p8', ORVELOS_NOTARY_KEY_ID: 'AB12', ORVELOS_NOTARY_ISSUER: '00-11',
  };
  assertSucceeded(run({ ...certificate, ...key }));
  assert.deepEqual(takeCalls().slice(-5),
    notaryCalls('--key', 'key.p8', '--key-id', 'AB12', '--issuer', '00-11'));

  for (const name of Object.keys(key)) {
    assert.equal(assertFailed(run({ ...certificate, ...key, [name]: '' })),
      `build-app: ${name} is not set; notarising with a key needs all three variables\n`);
  }
  assert.match(assertFailed(run({ ...certificate, ...key, ORVELOS_NOTARY_KEY: 'none.p8' })),
    /the key file 'none\.p8' cannot be read/);
});

const failures = [
  ['cmake --preset *', 'CMake failed to configure the build'],
  ['cmake --build *', 'the build failed'],
  ['xattr *', 'xattr could not clear the extended attributes'],
  ['codesign --force *', 'codesign could not sign the application'],
  ['codesign --verify *', 'the signature is not valid'],
  ['ditto *', 'ditto could not pack the application for notarisation'],
  ['xcrun notarytool *', 'notarytool could not submit the application: '],
  ['xcrun stapler staple *', 'stapler could not attach the notarisation ticket'],
  ['xcrun stapler validate *', 'the notarisation ticket is not valid'],
  ['spctl *', 'Gatekeeper rejects the application'],
];
for (const [call, message] of failures) {
  test(`the old application stays when this fails: ${call}`, () => {
    createOldApplication();
    const stderr = assertFailed(run({ ...notary, FAILS: call }));
    // The output of the tool precedes the message of the script.
    assert.match(stderr, new RegExp(`^fake tool: ${call.split(' ')[0]} .*\n`));
    assert.equal(stderr.split('\n').at(-2), `build-app: ${message}`);
    assertOnlyOldApplication();
    // The script ran no tool after the one that failed.
    const last = takeCalls().at(-1).join(' ');
    assert.ok(last.startsWith(call.slice(0, -' *'.length)), last);
  });
}

test('the old application stays when Apple rejects the new one', () => {
  createOldApplication();
  assert.match(assertFailed(run({ ...notary, NOTARY_STATUS: 'Invalid' })),
    /^build-app: Apple rejected .*id: 1234\n {2}status: Invalid\n$/s);
  assert.equal(takeCalls().at(-1)[1], 'notarytool');
  assertOnlyOldApplication();
});

test('the old application stays when the build creates no executable', () => {
  createOldApplication();
  fixture.addTool('cmake');
  assert.match(assertFailed(run()), /the build did not create 'Contents\/MacOS\/Orvel OS'/);
  assertOnlyOldApplication();
});

test('the old application is restored when the new bundle cannot be moved into place', () => {
  createOldApplication();
  // Runs the real mv, to which the fixture has a link in the folder system.
  fixture.addTool('mv', 'exec "${0%/*}/../system/mv" "$@"');
  assert.notEqual(run({ FAILS: 'mv */.build-app-*/Orvel OS.app *' }).status, 0);
  assertOnlyOldApplication();
  assert.deepEqual(takeCalls().filter(([name]) => name === 'mv').at(-1),
    ['mv', 'WORK/old.app', app()]);
});

test('missing tools and wrong arguments are reported before the build starts', () => {
  for (const [tool, environment, hint] of [
    ['cmake', {}, 'Xcode does not include it'], ['ninja', {}, 'Xcode does not include it'],
    ['codesign', {}, 'it is a part of macOS'], ['xattr', {}, 'it is a part of macOS'],
    ['spctl', notary, 'it is a part of macOS'], ['xcrun', notary, 'it is a part of macOS'],
    ['ditto', notary, 'it is a part of macOS'],
  ]) {
    const other = macFixture();
    other.removeTool(tool);
    assert.equal(assertFailed(other.run('build-app.sh', [], environment)),
      `build-app: ${tool} is not installed; ${hint}\n`);
    assert.ok(!other.takeCalls().some(([name]) => name === 'cmake'));
    assert.ok(!existsSync(other.path('build')));
    other.remove();
  }
  writeFileSync(fixture.path('file'), '');
  for (const [environment, args, message] of [
    [{ FAILS: 'xcode-select *' }, [], /command line tools are not installed/],
    [{ ORVELOS_NOTARY_PROFILE: 'p' }, [], /ORVELOS_SIGN_IDENTITY is not set/],
    [{ ORVELOS_VERSION: '1.2-beta' }, [], /'1\.2-beta' is not a version/],
    [{}, [''], /FOLDER is empty/],
    [{}, ['one', 'two'], /usage: /],
    [{}, ['file'], /is not a folder/],
  ]) assert.match(assertFailed(run(environment, args)), message);
  fixture.addTool('uname', 'echo Plan9');
  assert.match(assertFailed(run()), /Plan9 is not supported/);
  assert.ok(!existsSync(fixture.path('build')));
});

test('on Linux the executable is stripped and nothing is signed', () => {
  fixture.addTool('uname', 'echo Linux');
  fixture.addTool('strip');
  assertSucceeded(run(certificate));
  assert.deepEqual(takeCalls().map(([name]) => name), ['uname', 'cmake', 'cmake', 'strip']);

  assert.match(assertFailed(run({ FAILS: 'cmake *' })), /; scripts\/setup\.sh installs what it needs/);
  assert.match(assertFailed(run({ FAILS: 'strip *' })), /strip failed on the executable\n$/);
  assert.equal(readAppFile('Contents/Linux/orvel-os'), 'new');
  fixture.removeTool('strip');
  assert.equal(assertFailed(run()),
    'build-app: strip is not installed; scripts/setup.sh installs it\n');
});

test('Info.plist explains permissions and has no key that forbids http or quarantines files', () => {
  const source = readFileSync(fixture.path('packaging/macos/Info.plist.in'), 'utf8');
  for (const permission of ['LocalNetwork', 'DownloadsFolder']) {
    assert.match(source, new RegExp(`<key>NS${permission}UsageDescription</key>\\s*<string>Orvel OS .+\\.</string>`));
  }
  // These keys switch NSAllowsArbitraryLoads off.
  assert.doesNotMatch(source, /<key>NSAllows(LocalNetworking|ArbitraryLoadsInWebContent)</);
  // This key would also give the quarantine attribute to the files that the server writes.
  assert.doesNotMatch(source, /<key>LSFileQuarantineEnabled</);
});
