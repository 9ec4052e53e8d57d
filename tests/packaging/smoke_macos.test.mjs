// The script that tries a built application on a Mac: that it sees what goes well,
// and each thing that does not. The demo server is the real one.

import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { Workshop } from './script_fixture.mjs';

const application = fileURLToPath(new URL('fake_application.mjs', import.meta.url));

let workshop;
beforeEach(() => {
  workshop = new Workshop('demo');
  workshop.program('uname', 'echo Darwin');
  workshop.program('defaults', 'exit 1');
  // Passes the request on to the process that it names.
  workshop.program('osascript', `
[[ $4 =~ runningApplicationWithProcessIdentifier\\(([0-9]+)\\)\\.terminate ]]
kill -TERM "\${BASH_REMATCH[1]}"
echo "\${PASSED:-true}"`);
  mkdirSync(workshop.path('build/Orvel OS.app/Contents/MacOS'), { recursive: true });
  writeFileSync(workshop.path('build/Orvel OS.app/Contents/Info.plist'), '<key>ORVELOSKey</key>');
  writeFileSync(workshop.path('build/Orvel OS.app/Contents/MacOS/Orvel OS'),
    `#!/usr/bin/env bash\nexec node "${application}"\n`, { mode: 0o755 });
});
afterEach(() => {
  assert.deepEqual(readdirSync(workshop.path('tmp')), []);
  workshop.remove();
});

const run = (environment = {}, args = []) => workshop.run('smoke-macos.sh', args, environment);

/// Until nobody answers where the demo server was: a killed process takes a moment.
async function portIsFree() {
  const end = Date.now() + 5000;
  while (await fetch('http://127.0.0.1:4767/api/wie').then(() => true, () => false)) {
    assert.ok(Date.now() < end, 'the server is still there');
    await new Promise((done) => { setTimeout(done, 20); });
  }
}

test('an application that shows the page and quits has passed', async () => {
  const { status, stdout, stderr } = run();
  assert.equal(status, 0, stderr);
  assert.match(stdout, /server stopped by SIGTERM\nsmoke: all of it was seen/);
  const [, , language] = workshop.calls().find(([name]) => name === 'osascript');
  assert.equal(language, 'JavaScript');
  await portIsFree();
});

for (const [fault, words] of [
  ['ends', /words of the application\nsmoke: the application ended before the page was painted\n$/],
  ['blank', /smoke: the application ended before the page was painted\n$/],
  ['status', /smoke: the application ended with status 4\n$/],
  ['leaves', /missing: the stop of the server\nsmoke: not all of it was seen\n$/],
]) {
  test(`one that goes wrong has not, and nothing of it is left: ${fault}`, async () => {
    const { status, stderr } = run({ SMOKE: fault });
    assert.equal(status, 1);
    assert.match(stderr, words);
    await portIsFree();
  });
}

test('a system that does not pass the request on is told', async () => {
  assert.match(run({ FAILS: 'osascript *' }).stderr, /osascript could not ask the application to quit/);
  assert.match(run({ PASSED: 'false' }).stderr, /did not pass on/);
  await portIsFree();
});

test('what is missing is named, and nothing is started', () => {
  const started = () => workshop.calls().some(([name]) => name === 'osascript');
  const bundle = readFileSync(workshop.path('build/Orvel OS.app/Contents/Info.plist'));
  assert.match(run({}, ['weg.app']).stderr, /there is no application '.*\/weg\.app'/);
  assert.match(run({}, ['a', 'b']).stderr, /usage: /);
  workshop.program('defaults', 'echo https://os.voorbeeld.nl/');
  assert.match(run().stderr, /an address was chosen/);
  writeFileSync(workshop.path('build/Orvel OS.app/Contents/Info.plist'), '');
  assert.match(run().stderr, /the application has no key/);
  writeFileSync(workshop.path('build/Orvel OS.app/Contents/Info.plist'), bundle);
  workshop.without('osascript');
  assert.match(run().stderr, /osascript is not installed/);
  workshop.program('uname', 'echo Linux');
  assert.match(run().stderr, /this is no Mac/);
  assert.ok(!started());
});
