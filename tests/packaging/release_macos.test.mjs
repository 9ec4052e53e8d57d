// release.sh with fake macOS tools: a notarised release and every failure. On a hosted Mac,
// .github/workflows/check.yml runs the script with the real tools.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';

import { assertFailed, assertSucceeded, macFixture } from './script_fixture.mjs';

let fixture;
beforeEach(() => { fixture = macFixture(); });
afterEach(() => fixture.remove());

const run = (environment) => fixture.run('release.sh', ['1.20.3', 'out'],
  { SOURCE_DATE_EPOCH: '1700000000', ...environment });
const releaseFile = (...parts) => fixture.path('out', ...parts);

test('the archive holds the stapled application and is verified after unpacking', () => {
  mkdirSync(fixture.path('build/Orvel OS.app'), { recursive: true });
  const stdout =
    assertSucceeded(run({ ORVELOS_SIGN_IDENTITY: 'Me', ORVELOS_NOTARY_PROFILE: 'p' }));
  assert.equal(stdout, `release: ${releaseFile('orvel-os-1.20.3.zip')} and mac.json\n`);
  assert.deepEqual(readdirSync(releaseFile()), ['mac.json', 'orvel-os-1.20.3.zip']);
  assert.equal(readFileSync(releaseFile('mac.json'), 'utf8'),
    '{"versie": "1.20.3", "zip": "orvel-os-1.20.3.zip"}\n');

  const [pack, unpack, verify] = fixture.takeCalls().slice(-3);
  assert.deepEqual(pack.slice(0, 4), ['ditto', '-c', '-k', '--keepParent']);
  assert.deepEqual(unpack.slice(0, 4), ['ditto', '-x', '-k', pack[5]]);
  assert.deepEqual(verify, ['codesign', '--verify', '--strict', `${unpack[4]}/Orvel OS.app`]);

  // The archive of the fake ditto is a folder.
  for (const part of ['Contents/MacOS/Orvel OS', 'Contents/CodeResources', 'Contents/Info.plist']) {
    assert.ok(existsSync(releaseFile('orvel-os-1.20.3.zip', part)), part);
  }
  // The bundle of the default build does not change.
  assert.deepEqual(readdirSync(fixture.path('build')).sort(), ['Orvel OS.app', 'release-build']);
  assert.deepEqual(readdirSync(fixture.path('build/Orvel OS.app')), []);
});

test('a release needs a certificate, or ORVELOS_ADHOC=1 for an ad hoc signature', () => {
  for (const ORVELOS_ADHOC of ['', '0']) {
    assert.match(assertFailed(run({ ORVELOS_ADHOC })),
      /^release: ORVELOS_SIGN_IDENTITY is not set; ORVELOS_ADHOC=1 /);
    assert.ok(!existsSync(releaseFile()));
    assert.ok(!fixture.takeCalls().some(([name]) => name === 'cmake'));
  }
  assertSucceeded(run({ ORVELOS_ADHOC: '1' }));
  const sign = fixture.takeCalls().find(([name, word]) => name === 'codesign' && word === '--force');
  // The identity "-" stands for an ad hoc signature.
  assert.deepEqual(sign.slice(-3, -1), ['--sign', '-']);
});

for (const [call, message] of [
  ['codesign --force *', 'build-app: codesign could not sign the application'],
  ['ditto -c *', 'fake tool: ditto -c'],
  ['ditto -x *', 'fake tool: ditto -x'],
  ['codesign --verify --strict */unpacked/*', 'release: the signature in the archive is not valid'],
]) {
  test(`the old release stays when this fails: ${call}`, () => {
    mkdirSync(releaseFile());
    writeFileSync(releaseFile('mac.json'), 'old');
    const { status, stdout, stderr } = run({ ORVELOS_SIGN_IDENTITY: 'Me', FAILS: call });
    assert.notEqual(status, 0);
    assert.equal(stdout, '');
    assert.ok(stderr.includes(message), stderr);
    assert.deepEqual(readdirSync(releaseFile()), ['mac.json']);
    assert.equal(readFileSync(releaseFile('mac.json'), 'utf8'), 'old');
    assert.deepEqual(readdirSync(fixture.path('build')), ['release-build']);
  });
}
