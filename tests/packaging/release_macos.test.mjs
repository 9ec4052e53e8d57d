// The release script on a Mac, with stand-ins for its tools.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';

import { macWorkshop } from './script_fixture.mjs';

let workshop;
beforeEach(() => { workshop = macWorkshop(); });
afterEach(() => workshop.remove());

const run = (environment = {}) => workshop.run('release.sh', ['1.20.3', 'uit'],
  { SOURCE_DATE_EPOCH: '1700000000', ...environment });
const out = (...parts) => workshop.path('uit', ...parts);

test('a release is what build-app.sh signs, packed by ditto and looked at again', () => {
  mkdirSync(workshop.path('build/Orvel OS.app'), { recursive: true });
  const { status, stdout, stderr } = run({
    ORVELOS_KEY: 'sleutel', ORVELOS_SIGN_IDENTITY: 'Ik', ORVELOS_NOTARY_PROFILE: 'p',
  });
  assert.equal(status, 0, stderr);
  assert.equal(stdout, `release: ${out('orvel-os-1.20.3.zip')} and mac.json\n`);
  assert.deepEqual(readdirSync(out()), ['mac.json', 'orvel-os-1.20.3.zip']);
  assert.equal(readFileSync(out('mac.json'), 'utf8'),
    '{"versie": "1.20.3", "zip": "orvel-os-1.20.3.zip"}\n');

  const calls = workshop.calls();
  const configured = calls.find(([name, word]) => name === 'cmake' && word === '--preset');
  assert.ok(configured.includes('-DORVELOS_VERSION=1.20.3'));
  assert.ok(configured.includes('-DORVELOS_KEY=sleutel'));
  const named = calls.map(([name, ...words]) => [name, words[0] === 'stapler' ? words[1] : words[0]]);
  assert.deepEqual(named.filter(([name]) => ['codesign', 'ditto', 'xcrun'].includes(name)), [
    ['codesign', '--force'], ['codesign', '--verify'], ['ditto', '-c'], ['xcrun', 'notarytool'],
    ['xcrun', 'staple'], ['xcrun', 'validate'],
    ['ditto', '-c'], ['ditto', '-x'], ['codesign', '--verify'],
  ]);
  const [packed, unpacked, verified] = calls.slice(-3);
  assert.deepEqual(packed.slice(1, 4), ['-c', '-k', '--keepParent']);
  assert.match(packed[4], /\/Orvel OS\.app$/);
  assert.deepEqual(unpacked.slice(1, 4), ['-x', '-k', packed[5]]);
  assert.deepEqual(verified, ['codesign', '--verify', '--strict', `${unpacked[4]}/Orvel OS.app`]);

  // The stand-in's archive is a folder: the bundle with its ticket.
  for (const part of ['Contents/MacOS/Orvel OS', 'Contents/CodeResources', 'Contents/Info.plist']) {
    assert.ok(existsSync(out('orvel-os-1.20.3.zip', part)), part);
  }
  // The bundle of the build's own folder is another one, and stays.
  assert.deepEqual(readdirSync(workshop.path('build')).sort(), ['Orvel OS.app', 'release-build']);
  assert.deepEqual(readdirSync(workshop.path('build/Orvel OS.app')), []);
});

for (const [call, words] of [
  ['codesign --force *', 'build-app: the application could not be signed'],
  ['ditto -c *', 'stand-in: ditto -c'],
  ['ditto -x *', 'stand-in: ditto -x'],
  ['codesign --verify --strict */unpacked/*', 'release: the signature did not survive the archive'],
]) {
  test(`${call} fails: the release that was there stays`, () => {
    mkdirSync(out());
    writeFileSync(out('mac.json'), 'old');
    const { status, stdout, stderr } = run({ FAILS: call });
    assert.notEqual(status, 0);
    assert.equal(stdout, '');
    assert.ok(stderr.includes(words), stderr);
    assert.deepEqual(readdirSync(out()), ['mac.json']);
    assert.equal(readFileSync(out('mac.json'), 'utf8'), 'old');
    assert.deepEqual(readdirSync(workshop.path('build')), ['release-build']);
  });
}
