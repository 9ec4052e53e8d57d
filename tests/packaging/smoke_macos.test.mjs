// smoke-macos.sh with a fake application and the real demo server: it detects each fault. The
// workflow of a hosted Mac runs it on the real application.

import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { ScriptFixture } from './script_fixture.mjs';

const pathOf = (name) => fileURLToPath(new URL(name, import.meta.url));

let fixture;
beforeEach(() => {
  fixture = new ScriptFixture('demo');
  fixture.addTool('uname', 'echo Darwin');
  fixture.addTool('defaults', 'exit 1');
  fixture.addTool('osascript', `exec node "${pathOf('fake_osascript.mjs')}" "$@"`);
  // Starts the executable of the bundle, which is the last argument, with the variables of the
  // options --env. Writes its own environment, and for fake_osascript.mjs the process ID and the
  // bundle, to files of the fixture.
  fixture.addTool('open', `
variables=()
while [ $# -gt 1 ]; do
  case "$1" in
    --env) variables+=("$2"); shift ;;
    --stdout) output=$2; shift ;;
    --stderr) shift ;;
  esac
  shift
done
env >"${fixture.path('open-environment')}"
env "\${variables[@]}" "$1/Contents/MacOS/Orvel OS" >"$output" 2>&1 &
printf %s $! >"${fixture.path('pid')}"
printf %s "$1" >"${fixture.path('bundle')}"`);
  mkdirSync(fixture.path('build/Orvel OS.app/Contents/MacOS'), { recursive: true });
  writeFileSync(fixture.path('build/Orvel OS.app/Contents/Info.plist'), '<key>ORVELOSKey</key>');
});
afterEach(() => {
  assert.deepEqual(readdirSync(fixture.path('tmp')), []);
  fixture.remove();
});

function run(fault = '', args = []) {
  // The application does not get the environment of the script.
  writeFileSync(fixture.path('build/Orvel OS.app/Contents/MacOS/Orvel OS'),
    `#!/usr/bin/env bash
FAULT=${fault} exec "${process.execPath}" "${pathOf('fake_application.mjs')}"\n`, { mode: 0o755 });
  return fixture.run('smoke-macos.sh', args, { FAULT: fault, DESKTOP: fixture.path() });
}

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
  ['window-behind', /smoke: the window is not in front\n$/],
  ['keys-ignored', /smoke: typing did not reach the page\n$/],
  ['window-immovable', /smoke: dragging the title bar did not move the window\n$/],
  ['quit-event-not-sent', /smoke: the system did not send the quit event\n$/],
  ['orphan', /missing: the stop of the server\nsmoke: a step is missing\n$/],
]) {
  test(`the fault ${fault} is reported and no process is left`, async () => {
    const { status, stderr } = run(fault);
    assert.equal(status, 1, stderr);
    assert.match(stderr, message);
    await portIsFree();
  });
}

test('every check passes, and the application starts with the environment of the Finder', async () => {
  const { status, stdout, stderr } = run();
  assert.equal(status, 0, stderr);
  assert.deepEqual(stdout.match(/^smoke: (passed|not checked): .*$/gm), [
    'smoke: passed: the window is in front',
    'smoke: passed: typing reaches the page without a click',
    'smoke: passed: dragging the title bar moves the window',
  ]);
  assert.match(stdout, /smoke: all steps are in the record, no process is left\n$/);
  const names = readFileSync(fixture.path('open-environment'), 'utf8').match(/^\w+(?==)/gm);
  // The shell sets the last three.
  assert.deepEqual(names.sort(), ['HOME', 'PATH', 'PWD', 'SHLVL', 'TMPDIR', '_']);
  await portIsFree();
});

test('without the permission to post events, typing and dragging are reported as not checked', async () => {
  const { status, stdout, stderr } = run('no-permission');
  assert.equal(status, 0, stderr);
  assert.match(stdout, /^smoke: not checked: typing and dragging; /m);
  assert.doesNotMatch(stdout, /passed: (typing|dragging)/);
  await portIsFree();
});

test('a start that fails is reported', () => {
  fixture.addTool('open', 'exit 1');
  assert.match(run().stderr, /smoke: open could not start the application\n$/);
});

test('an osascript that fails is reported', async () => {
  fixture.addTool('osascript', `
case "$4" in quit) exit 1 ;; esac
exec node "${pathOf('fake_osascript.mjs')}" "$@"`);
  assert.match(run().stderr, /osascript failed to quit the application/);
  await portIsFree();
});

test('a wrong setup is reported and nothing is started', () => {
  const information = fixture.path('build/Orvel OS.app/Contents/Info.plist');
  const withKey = readFileSync(information);
  assert.match(run('', ['none.app']).stderr, /the application '.*\/none\.app' does not exist/);
  assert.match(run('', ['a', 'b']).stderr, /usage: /);
  fixture.addTool('defaults', 'echo https://os.example.org/');
  assert.match(run().stderr, /the user has chosen an address/);
  writeFileSync(information, '');
  assert.match(run().stderr, /the application has no key/);
  writeFileSync(information, withKey);
  for (const tool of ['osascript', 'open']) {
    fixture.removeTool(tool);
    assert.match(run().stderr, new RegExp(`${tool} is not installed`));
    fixture.addTool(tool);
  }
  fixture.addTool('uname', 'echo Linux');
  assert.match(run().stderr, /this system is not macOS/);
  assert.ok(!fixture.calls().some(([name]) => name === 'osascript' || name === 'open'));
});
