// smoke-macos.sh with a fake application and the real demo server: it detects each fault. The
// workflow of a hosted Mac runs it on the real application.

import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { ScriptFixture } from './script_fixture.mjs';

const application = fileURLToPath(new URL('fake_application.mjs', import.meta.url));

let fixture;
beforeEach(() => {
  fixture = new ScriptFixture('demo');
  fixture.addTool('uname', 'echo Darwin');
  fixture.addTool('defaults', 'exit 1');
  // Sends SIGTERM to the process that the script names.
  fixture.addTool('osascript', `
[[ $2 == JavaScript && $4 =~ runningApplicationWithProcessIdentifier\\(([0-9]+)\\)\\.terminate ]]
kill -TERM "\${BASH_REMATCH[1]}"
echo "\${SENT:-true}"`);
  mkdirSync(fixture.path('build/Orvel OS.app/Contents/MacOS'), { recursive: true });
  writeFileSync(fixture.path('build/Orvel OS.app/Contents/Info.plist'), '<key>ORVELOSKey</key>');
  writeFileSync(fixture.path('build/Orvel OS.app/Contents/MacOS/Orvel OS'),
    `#!/usr/bin/env bash\nexec node "${application}"\n`, { mode: 0o755 });
});
afterEach(() => {
  assert.deepEqual(readdirSync(fixture.path('tmp')), []);
  fixture.remove();
});

const run = (environment = {}, args = []) => fixture.run('smoke-macos.sh', args, environment);

/// Waits until the demo server has gone: a killed process takes a moment.
async function portIsFree() {
  const end = Date.now() + 5000;
  while (await fetch('http://127.0.0.1:4767/api/wie').then(() => true, () => false)) {
    assert.ok(Date.now() < end, 'the server is still running');
    await new Promise((done) => { setTimeout(done, 20); });
  }
}

for (const [fault, message] of [
  ['early-exit',
    /output of the application\nsmoke: the application exited before the page was painted\n$/],
  ['no-page', /smoke: the application exited before the page was painted\n$/],
  ['exit-status', /smoke: the application exited with status 4\n$/],
  ['orphan', /missing: the stop of the server\nsmoke: a step is missing\n$/],
]) {
  test(`the fault ${fault} is reported and no process is left`, async () => {
    const { status, stderr } = run({ FAULT: fault });
    assert.equal(status, 1);
    assert.match(stderr, message);
    await portIsFree();
  });
}

test('a quit event that is not sent is reported', async () => {
  assert.match(run({ FAILS: 'osascript *' }).stderr, /osascript failed to quit the application/);
  assert.match(run({ SENT: 'false' }).stderr, /the system did not send the quit event/);
  await portIsFree();
});

test('a wrong setup is reported and nothing is started', () => {
  const information = fixture.path('build/Orvel OS.app/Contents/Info.plist');
  const withKey = readFileSync(information);
  assert.match(run({}, ['none.app']).stderr, /the application '.*\/none\.app' does not exist/);
  assert.match(run({}, ['a', 'b']).stderr, /usage: /);
  fixture.addTool('defaults', 'echo https://os.example.org/');
  assert.match(run().stderr, /the user has chosen an address/);
  writeFileSync(information, '');
  assert.match(run().stderr, /the application has no key/);
  writeFileSync(information, withKey);
  fixture.removeTool('osascript');
  assert.match(run().stderr, /osascript is not installed/);
  fixture.addTool('uname', 'echo Linux');
  assert.match(run().stderr, /this system is not macOS/);
  assert.ok(!fixture.calls().some(([name]) => name === 'osascript'));
});
