// smoke-macos.sh with a fake application and the real demo server: the script detects each fault.
// On a hosted Mac, .github/workflows/check.yml runs the script with the real application and with
// operate_macos.js, which a fake osascript replaces in this test.

import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { waitFor } from '../support/desktop/wait.mjs';
import { ScriptFixture, assertFailed, assertSucceeded } from './script_fixture.mjs';

const fakeApplication = fileURLToPath(new URL('fake_application.mjs', import.meta.url));

let fixture;
beforeEach(() => {
  fixture = new ScriptFixture('demo');
  fixture.addTool('uname', 'echo Darwin');
  // `defaults read` fails: the user has stored no address to open instead of the demo server.
  fixture.addTool('defaults', 'exit 1');
  // The patterns match a command of operate_macos.js, which is in $4, and the fault. The real
  // openSecondLink types keys that open the second link of the page; the fake one reports, as the
  // opened page does, that the page is painted. The file "moved" exists once the window has been
  // dragged.
  fixture.addTool('osascript', `
cd "${fixture.folder}"
case "$4 $FAULT" in
  "quit osascript-fails") exit 1 ;;
  "quit quit-event-not-sent" | "isInFront window-behind" | "mayPostEvents no-permission")
    echo false ;;
  "openSecondLink keys-ignored" | "dragTitleBar window-immovable") ;;
  pid*) cat pid ;;
  quit*) kill -TERM "$5"; echo true ;;
  openSecondLink*)
    node -e 'fetch("http://127.0.0.1:4767/api/getoond?pagina=%2Flinks", { method: "POST" })' ;;
  dragTitleBar*) touch moved ;;
  position*) if [ -e moved ]; then echo 40 110; else echo 100 50; fi ;;
  *) echo true ;;
esac`);
  // Starts the executable of the bundle, which is the last argument, with the variables of the
  // options --env. Writes the environment that it got from the script to the file open-environment,
  // and the process ID of the application to the file pid.
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
echo $! >"${fixture.path('pid')}"`);
  mkdirSync(fixture.path('build/Orvel OS.app/Contents/MacOS'), { recursive: true });
  writeFileSync(fixture.path('build/Orvel OS.app/Contents/Info.plist'), '<key>ORVELOSKey</key>');
});
afterEach(async () => {
  // smoke-macos.sh kills the server but does not wait for its exit.
  await waitFor('the exit of the demo server', () =>
    fetch('http://127.0.0.1:4767/api/wie').then(() => false, () => true));
  assert.deepEqual(readdirSync(fixture.path('tmp')), [], 'temporary files of the script');
  fixture.remove();
});

/// Runs smoke-macos.sh on a fake application with this fault.
function run(fault = '', args = []) {
  // The application gets the fault here, because it does not inherit the environment of the script.
  writeFileSync(fixture.path('build/Orvel OS.app/Contents/MacOS/Orvel OS'),
    `#!/usr/bin/env bash
FAULT=${fault} exec "${process.execPath}" "${fakeApplication}"\n`, { mode: 0o755 });
  return fixture.run('smoke-macos.sh', args, { FAULT: fault });
}

for (const [fault, message] of [
  ['early-exit',
    /output of the application\nsmoke: the application exited before the page was painted\n$/],
  ['no-page', /smoke: the application exited before the page was painted\n$/],
  ['exit-status', /smoke: the application exited with status 4\n$/],
  ['window-behind', /smoke: the window is not in front\n$/],
  ['keys-ignored', /smoke: typing did not reach the page\n$/],
  ['window-immovable', /smoke: dragging the title bar did not move the window\n$/],
  ['osascript-fails', /smoke: osascript failed to quit the application\n$/],
  ['quit-event-not-sent', /smoke: the system did not send the quit event\n$/],
  ['orphan', /missing: the stop of the server\nsmoke: a step is missing\n$/],
]) {
  test(`the fault ${fault} is reported and no server is left`, () => {
    const { status, stderr } = run(fault);
    assert.equal(status, 1, stderr);
    assert.match(stderr, message);
  });
}

test('without a fault every check passes, in the environment that the Finder gives', () => {
  const stdout = assertSucceeded(run());
  assert.deepEqual(stdout.match(/^smoke: (passed|not checked): .*$/gm), [
    'smoke: passed: the window is in front',
    'smoke: passed: typing reaches the page without a click',
    'smoke: passed: dragging the title bar moves the window',
  ]);
  assert.match(stdout, /smoke: all steps are in the record, no process is left\n$/);
  const names = readFileSync(fixture.path('open-environment'), 'utf8').match(/^\w+(?==)/gm);
  // The shell sets PWD, SHLVL and _.
  assert.deepEqual(names.sort(), ['HOME', 'PATH', 'PWD', 'SHLVL', 'TMPDIR', '_']);
});

test('without the permission to post events, typing and dragging are reported as not checked', () => {
  const stdout = assertSucceeded(run('no-permission'));
  assert.match(stdout, /^smoke: not checked: typing and dragging; /m);
  assert.doesNotMatch(stdout, /passed: (typing|dragging)/);
});

test('a start that fails is reported', () => {
  fixture.addTool('open', 'exit 1');
  assert.match(run().stderr, /smoke: open could not start the application\n$/);
});

test('a wrong setup is reported and nothing is started', () => {
  const information = fixture.path('build/Orvel OS.app/Contents/Info.plist');
  const withKey = readFileSync(information);
  assert.match(assertFailed(run('', ['none.app'])), /the application '.*\/none\.app' does not exist/);
  assert.match(assertFailed(run('', ['a', 'b'])), /usage: /);
  fixture.addTool('defaults', 'echo https://os.example.org/');
  assert.match(assertFailed(run()), /the user has chosen an address/);
  writeFileSync(information, '');
  assert.match(assertFailed(run()), /the application has no key/);
  writeFileSync(information, withKey);
  for (const tool of ['osascript', 'open']) {
    fixture.removeTool(tool);
    assert.match(assertFailed(run()), new RegExp(`${tool} is not installed`));
    fixture.addTool(tool);
  }
  fixture.addTool('uname', 'echo Linux');
  assert.match(assertFailed(run()), /this system is not macOS/);
  assert.ok(!fixture.takeCalls().some(([name]) => name === 'osascript' || name === 'open'));
});
