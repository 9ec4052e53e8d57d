// Runs scripts: those of the sources, or a copy of them in a temporary folder, with fake tools on
// the PATH that record their calls.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import {
  chmodSync, cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, realpathSync, rmSync,
  symlinkSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { pathOf } from '../support/desktop/processes.mjs';

const sources = fileURLToPath(new URL('../..', import.meta.url));

// The system tools that the scripts may use on every system. PATH has no others.
const systemTools = ['awk', 'bash', 'cat', 'chmod', 'cp', 'date', 'dirname', 'env', 'find', 'git',
  'grep', 'mkdir', 'mktemp', 'mv', 'node', 'ps', 'rm', 'sed', 'sleep', 'sort', 'tail', 'touch'];

/// Asserts that a script succeeded and returns its standard output. `result` is that of spawnSync.
export function assertSucceeded(result) {
  assert.equal(result.status, 0, result.stderr);
  return result.stdout;
}

/// Asserts that a script exited with status 1 and without standard output, and returns its standard
/// error.
export function assertFailed({ status, stdout, stderr }) {
  assert.equal(status, 1, stderr);
  assert.equal(stdout, '');
  return stderr;
}

/// Runs a script of the sources with this working directory. The umask is set by a shell, because
/// spawnSync has no option for it. Returns what spawnSync returns.
export function runScript(script, folder, args, environment = {}, umask = '022') {
  const line = ['-c', `umask ${umask}; exec "$0" "$@"`, join(sources, 'scripts', script), ...args];
  return spawnSync('bash', line, {
    cwd: folder, encoding: 'utf8', env: { ...withoutBuildSettings(process.env), ...environment },
  });
}

export class ScriptFixture {
  /// Copies scripts/ and these folders of the sources.
  constructor(...folders) {
    // Resolved, because the scripts print resolved paths and macOS has a symbolic link in
    // the path of its temporary folder.
    this.folder = realpathSync(mkdtempSync(join(tmpdir(), 'orvel packaging ')));
    for (const folder of ['scripts', ...folders]) {
      cpSync(join(sources, folder), join(this.folder, folder), { recursive: true });
    }
    for (const folder of ['bin', 'system', 'tmp']) mkdirSync(this.path(folder));
    for (const program of systemTools) this.addSystemTool(program);
  }

  path(...parts) { return join(this.folder, ...parts); }

  /// Creates a fake tool that records its arguments and then runs the shell code `body`. A call
  /// whose command line matches the pattern in the variable FAILS fails instead, with status 7. In
  /// the record NUL ends each word, and a line feed as the last word ends a call.
  addTool(name, body = '') {
    const text = `#!/usr/bin/env bash
set -eu
call="\${0##*/} $*"
printf '%s\\0' "\${0##*/}" "$@" $'\\n' >>"${this.path('record')}"
if [ -n "\${FAILS:-}" ] && [[ $call == $FAILS ]]; then
  echo "fake tool: $call" >&2
  exit 7
fi
${body}
`;
    writeFileSync(this.path('bin', name), text);
    chmodSync(this.path('bin', name), 0o755);
  }

  removeTool(name) { rmSync(this.path('bin', name)); }

  /// Makes a tool of this system available to the scripts.
  addSystemTool(name) { symlinkSync(pathOf(name), this.path('system', name)); }

  /// Returns the recorded calls of fake tools, each as [name, argument...], and clears the record.
  takeCalls() {
    const record = this.path('record');
    if (!existsSync(record)) return [];
    const calls = readFileSync(record, 'utf8').split('\0\n\0').slice(0, -1)
      .map((call) => call.split('\0'));
    rmSync(record);
    return calls;
  }

  /// Runs a script and returns what spawnSync returns.
  run(script, args = [], environment = {}) {
    return spawnSync(this.path('scripts', script), args, {
      cwd: this.folder,
      encoding: 'utf8',
      env: {
        ...withoutBuildSettings(process.env),
        PATH: `${this.path('bin')}:${this.path('system')}`,
        TMPDIR: this.path('tmp'),
        ...environment,
      },
    });
  }

  remove() { rmSync(this.folder, { recursive: true }); }
}

/// Returns the environment without the variables of the scripts, such as a signing certificate that
/// the user has set.
function withoutBuildSettings(environment) {
  return Object.fromEntries(
    Object.entries(environment).filter(([name]) => !/^(ORVEL|SOURCE_DATE_EPOCH)/.test(name)));
}

/// Returns a fixture with fake versions of the tools that build-app.sh and release.sh use on
/// macOS. The fake cmake creates a bundle with the executables of both systems. The variable
/// NOTARY_STATUS is the answer of Apple's notary service, by default Accepted.
export function macFixture() {
  const fixture = new ScriptFixture('packaging');
  fixture.addTool('uname', 'echo Darwin');
  for (const tool of ['xcode-select', 'ninja', 'xattr', 'spctl']) fixture.addTool(tool);
  fixture.addTool('cmake', `
if [ "$1" = --build ]; then
  contents="build/release-build/Orvel OS.app/Contents"
  mkdir -p "$contents/MacOS" "$contents/Linux"
  for program in "$contents/MacOS/Orvel OS" "$contents/Linux/orvel-os"; do
    echo new >"$program"
    chmod +x "$program"
  done
  echo plist >"$contents/Info.plist"
fi`);
  // ${!#} is the last argument.
  fixture.addTool('codesign', `
bundle="\${!#}"
if [ "$1" = --verify ]; then
  [ -e "$bundle/Contents/_CodeSignature" ]
else
  echo signature >"$bundle/Contents/_CodeSignature"
fi`);
  fixture.addTool('ditto', `
if [ "$1" = -c ]; then cp -R "$4" "$5"; else mkdir -p "$4"; cp -R "$3" "$4/Orvel OS.app"; fi`);
  fixture.addTool('xcrun', `
case "$1" in
  notarytool) printf '  id: 1234\\n  status: %s\\n' "\${NOTARY_STATUS:-Accepted}" ;;
  stapler) if [ "$2" = staple ]; then echo ticket >"$3/Contents/CodeResources"; fi ;;
esac`);
  return fixture;
}
