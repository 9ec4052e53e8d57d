// release.sh with fake macOS tools: a notarised release and every failure. The workflow of a
// hosted Mac runs the script with the real tools.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';

import { macFixture } from './script_fixture.mjs';

let fixture;
beforeEach(() => { fixture = macFixture(); });
afterEach(() => fixture.remove());

const run = (environment) => fixture.run('release.sh', ['1.20.3', 'out'],
  { SOURCE_DATE_EPOCH: '1700000000', ...environment });
const out = (...parts) => fixture.path('out', ...parts);

test('the archive holds the stapled application and is verified after unpacking', () => {
  mkdirSync(fixture.path('build/Orvel OS.app'), { recursive: true });
  const { status, stdout, stderr } =
    run({ ORVELOS_SIGN_IDENTITY: 'Me', ORVELOS_NOTARY_PROFILE: 'p' });
  assert.equal(status, 0, stderr);
  assert.equal(stdout, `release: ${out('orvel-os-1.20.3.zip')} and mac.json\n`);
  assert.deepEqual(readdirSync(out()), ['mac.json', 'orvel-os-1.20.3.zip']);
  assert.equal(readFileSync(out('mac.json'), 'utf8'),
    '{"versie": "1.20.3", "zip": "orvel-os-1.20.3.zip"}\n');

  const [pack, unpack, verify] = fixture.calls().slice(-3);
  assert.deepEqual(pack.slice(0, 4), ['ditto', '-c', '-k', '--keepParent']);
  assert.deepEqual(unpack.slice(0, 4), ['ditto', '-x', '-k', pack[5]]);
  assert.deepEqual(verify, ['codesign', '--verify', '--strict', `${unpack[4]}/Orvel OS.app`]);

  // The archive of the fake ditto is a folder.
  for (const part of ['Contents/MacOS/Orvel OS', 'Contents/CodeResources', 'Contents/Info.plist']) {
    assert.ok(existsSync(out('orvel-os-1.20.3.zip', part)), part);
  }
  // The bundle of the default build does not change.
  assert.deepEqual(readdirSync(fixture.path('build')).sort(), ['Orvel OS.app', 'release-build']);
  assert.deepEqual(readdirSync(fixture.path('build/Orvel OS.app')), []);
});

test('a release needs a certificate, or ORVELOS_ADHOC=1 for an ad hoc signature', () => {
  for (const ORVELOS_ADHOC of ['', '0']) {
    const { status, stderr } = run({ ORVELOS_ADHOC });
    assert.equal(status, 1);
    assert.match(stderr, /^release: ORVELOS_SIGN_IDENTITY is not set; ORVELOS_ADHOC=1 /);
    assert.ok(!existsSync(out()));
    assert.ok(!fixture.calls().some(([name]) => name === 'cmake'));
  }
  const { status, stderr } = run({ ORVELOS_ADHOC: '1' });
  assert.equal(status, 0, stderr);
  const sign = fixture.calls().find(([name, word]) => name === 'codesign' && word === '--force');
  assert.deepEqual(sign.slice(-3, -1), ['--sign', '-']);
});

for (const [call, message] of [
  ['codesign --force *', 'build-app: codesign could not sign the application'],
  ['ditto -c *', 'fake tool: ditto -c'],
  ['ditto -x *', 'fake tool: ditto -x'],
  ['codesign --verify --strict */unpacked/*', 'release: the signature in the archive is not valid'],
]) {
  test(`the old release stays when this fails: ${call}`, () => {
    mkdirSync(out());
    writeFileSync(out('mac.json'), 'old');
    const { status, stdout, stderr } = run({ ORVELOS_SIGN_IDENTITY: 'Me', FAILS: call });
    assert.notEqual(status, 0);
    assert.equal(stdout, '');
    assert.ok(stderr.includes(message), stderr);
    assert.deepEqual(readdirSync(out()), ['mac.json']);
    assert.equal(readFileSync(out('mac.json'), 'utf8'), 'old');
    assert.deepEqual(readdirSync(fixture.path('build')), ['release-build']);
  });
}
