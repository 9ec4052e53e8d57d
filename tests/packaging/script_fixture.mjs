// A copy of the sources' scripts in a folder of its own, and programs that stand in
// for those that only a Mac has. Each tells in one file how it was called.

import { spawnSync } from 'node:child_process';
import {
  chmodSync, cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, realpathSync, rmSync,
  symlinkSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const sources = fileURLToPath(new URL('../..', import.meta.url));

// What the scripts may take for granted on every system; of all else there is
// nothing on their search path but the stand-ins.
const common = ['awk', 'bash', 'cat', 'chmod', 'cp', 'date', 'dirname', 'env', 'find', 'git', 'grep',
  'mkdir', 'mktemp', 'mv', 'node', 'ps', 'rm', 'sed', 'sleep', 'sort', 'tail', 'touch'];

/// Where a program lies, or '' if it is not installed.
export function located(program) {
  const { stdout } = spawnSync('sh', ['-c', 'command -v "$0"', program], { encoding: 'utf8' });
  return stdout.trim();
}

/// `parts` are the folders that the copy has beside the scripts.
export class Workshop {
  constructor(...parts) {
    // What the scripts print has no link in it, and a Mac's temporary folder has one.
    this.folder = realpathSync(mkdtempSync(join(tmpdir(), 'orvel packaging ')));
    for (const part of ['scripts', ...parts]) {
      cpSync(join(sources, part), join(this.folder, part), { recursive: true });
    }
    for (const folder of ['bin', 'system', 'tmp']) mkdirSync(this.path(folder));
    for (const program of common) this.installed(program);
  }

  path(...parts) { return join(this.folder, ...parts); }

  /// A program on the search path: it records its arguments and then does `text`.
  /// Its name and arguments are also in $CALL, with blanks between them.
  program(name, text = '') {
    const body = `#!/usr/bin/env bash
set -eu
CALL="\${0##*/} $*"
printf '%s\\0' "\${0##*/}" "$@" $'\\n' >>"$RECORD"
if [ -n "\${FAILS:-}" ] && [[ $CALL == $FAILS ]]; then
  echo "stand-in: $CALL" >&2
  exit 7
fi
${text}
`;
    writeFileSync(this.path('bin', name), body);
    chmodSync(this.path('bin', name), 0o755);
  }

  /// Lets the scripts find this program of the machine.
  installed(name) { symlinkSync(located(name), this.path('system', name)); }

  without(name) { rmSync(this.path('bin', name)); }

  /// The calls since the last look, each as [name, argument...].
  calls() {
    const record = this.path('record');
    if (!existsSync(record)) return [];
    const calls = readFileSync(record, 'utf8').split('\0\n\0').slice(0, -1)
      .map((call) => call.split('\0'));
    rmSync(record);
    return calls;
  }

  /// Runs a script of the copy.
  run(script, args = [], environment = {}) {
    return spawnSync(this.path('scripts', script), args, {
      cwd: this.folder,
      encoding: 'utf8',
      env: {
        ...clean(process.env),
        PATH: `${this.path('bin')}:${this.path('system')}`,
        TMPDIR: this.path('tmp'),
        RECORD: this.path('record'),
        ...environment,
      },
    });
  }

  remove() { rmSync(this.folder, { recursive: true }); }
}

// Whoever runs the tests may have a certificate of his own.
function clean(environment) {
  return Object.fromEntries(
    Object.entries(environment).filter(([name]) => !/^(ORVELOS?_|SOURCE_DATE_EPOCH)/.test(name)));
}

/// The stand-ins of a Mac. The build makes a bundle of two files.
export function macWorkshop(...parts) {
  const workshop = new Workshop('packaging', ...parts);
  workshop.program('uname', 'echo Darwin');
  workshop.program('xcode-select');
  workshop.program('ninja');
  workshop.program('cmake', `
if [ "$1" = --build ]; then
  contents="build/release-build/Orvel OS.app/Contents"
  mkdir -p "$contents/MacOS"
  echo new >"$contents/MacOS/Orvel OS"
  chmod +x "$contents/MacOS/Orvel OS"
  echo plist >"$contents/Info.plist"
fi`);
  workshop.program('codesign', `
bundle="\${!#}"
if [ "$1" = --verify ]; then
  [ -e "$bundle/Contents/_CodeSignature" ]
else
  echo seal >"$bundle/Contents/_CodeSignature"
fi`);
  workshop.program('ditto', `
if [ "$1" = -c ]; then cp -R "$4" "$5"; else mkdir -p "$4"; cp -R "$3" "$4/Orvel OS.app"; fi`);
  workshop.program('xcrun', `
case "$1" in
  notarytool) printf '  id: 1234\\n  status: %s\\n' "\${VERDICT:-Accepted}" ;;
  stapler) if [ "$2" = staple ]; then echo ticket >"$3/Contents/CodeResources"; fi ;;
esac`);
  return workshop;
}
