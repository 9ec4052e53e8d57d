// Measures how many deliberate faults the checks of the macOS edition find on Linux. Plants each
// fault of planted_faults.mjs into a copy of the checkout and runs the check of the changed file:
// of a source, of a property list, or of the signing by build-app.sh.
//
//   node plant_faults.mjs SYSROOT [CATEGORY...]
//
// SYSROOT is a copy of the macOS SDK. Prints a Markdown table with the first complaint about each
// fault. Fails when the check rejects the unchanged copy.
import { execFileSync, spawnSync } from 'node:child_process';
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { faults } from './planted_faults.mjs';

const [sysroot, ...categories] = process.argv.slice(2);
const checkout = fileURLToPath(new URL('../..', import.meta.url));
const copy = mkdtempSync(join(tmpdir(), 'planted-faults-'));

const run = (command, args) => spawnSync(command, args, { cwd: copy, encoding: 'utf8' });
const configure = () => run('cmake', ['-S', '.', '-B', 'build', '-G', 'Ninja',
  '-DCMAKE_TOOLCHAIN_FILE=cmake/macos-cross.cmake', `-DORVELOS_MACOS_SYSROOT=${sysroot}`]);

// Returns the sources that a change of a file concerns: itself, or those that include it,
// also through other headers.
function concernedSources(file) {
  if (file.endsWith('.mm')) return [file];
  const including = spawnSync('git', ['grep', '-l', `"${file}"`, '--', 'platform/macos'],
    { cwd: checkout, encoding: 'utf8' }).stdout.split('\n').filter(Boolean);
  return including.flatMap(concernedSources);
}

// Runs the parts of the check that concern the files. Returns the result of the first part
// that failed, or of the last one.
function check(files) {
  const parts = [];
  for (const file of files) {
    if (file.startsWith('scripts/')) {
      parts.push(() => run('node', ['--test', 'tests/packaging/build_app.test.mjs']));
    } else if (/\.(in|entitlements|plist)$/.test(file)) {
      // Configuring writes Info.plist into the bundle. The script also checks the entitlements.
      parts.push(configure, () => run('python3',
        ['tools/macos_check/check_property_lists.py', 'build/Orvel OS.app/Contents/Info.plist']));
    }
  }
  const sources = new Set(files.filter((file) => /\.(mm|h)$/.test(file)).flatMap(concernedSources));
  if (sources.size > 0) {
    parts.push(() => run('node', ['tools/macos_check/check_sources.mjs', 'build', ...sources]));
  }
  let result;
  for (const part of parts) {
    result = part();
    if (result.status !== 0) break;
  }
  return result;
}

// Returns the line of a check's output that names the failure, as a cell of a Markdown table.
function complaint({ stdout, stderr }) {
  const lines = (stderr + stdout).split('\n');
  const line = lines.find((text) => text.startsWith('not ok')) ??
    lines.find((text) => text.includes('error:')) ?? lines.find((text) => text.startsWith('check_')) ?? lines[0];
  return line.replace(/^check_\w+: /, '').replace(/^.*?error: /, '').replaceAll('|', '\\|').slice(0, 150);
}

try {
  for (const file of execFileSync('git', ['ls-files'], { cwd: checkout, encoding: 'utf8' }).trim().split('\n')) {
    cpSync(join(checkout, file), join(copy, file));
  }
  const configured = configure();
  if (configured.status !== 0) throw new Error(configured.stderr);

  const chosen = faults.filter((fault) => categories.length === 0 || categories.includes(fault.category));
  const unchanged = check([...new Set(chosen.map((fault) => fault.file))]);
  if (unchanged.status !== 0) throw new Error(`the unchanged copy: ${complaint(unchanged)}`);
  let rejected = 0;
  console.log('| category | file | fault | rejected |\n|---|---|---|---|');
  for (const { category, file, fault, edits } of chosen) {
    const original = readFileSync(join(copy, file), 'utf8');
    let changed = original;
    for (const [find, replacement] of edits) {
      if (changed.split(find).length !== 2) throw new Error(`${file} does not contain this text once: ${find}`);
      changed = changed.replace(find, () => replacement);
    }
    writeFileSync(join(copy, file), changed);
    const result = check([file]);
    writeFileSync(join(copy, file), original);
    if (result.status !== 0) rejected += 1;
    console.log(`| ${category} | ${basename(file)} | ${fault} | ${result.status === 0 ? '**no**' : complaint(result)} |`);
  }
  console.log(`\n${rejected} of ${chosen.length} faults were rejected.`);
} finally {
  rmSync(copy, { recursive: true });
}
