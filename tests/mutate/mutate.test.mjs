// Tests of the mutation testing tool, on the program in sample/. Its equivalents.toml lists a
// mutant that behaves like the original, so that no test can kill it, and an outdated one.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { after, before, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';

const sample = fileURLToPath(new URL('sample', import.meta.url));
const tool = fileURLToPath(new URL('../../tools/mutate/mutate.py', import.meta.url));
const build = mkdtempSync(path.join(tmpdir(), 'mutate-'));

function run(command, ...args) {
  return spawnSync(command, args, { encoding: 'utf8' });
}

/** Runs the tool. Returns its exit status, its report and the mutants of the JSON report. */
function mutate(...args) {
  // Only the system's Python has the bindings of libclang (Debian's package python3-clang).
  const result = run('/usr/bin/python3', tool, '--root', sample, '--build', build,
    '--target', 'sample_tests', '--folders', 'code',
    '--equivalents', path.join(sample, 'equivalents.toml'), ...args);
  assert.notEqual(result.stdout, '', result.stderr);
  const mutants = JSON.parse(readFileSync(path.join(build, 'mutants.json'), 'utf8'));
  return { status: result.status, report: result.stdout, mutants };
}

/**
 * Returns the mutated code of the mutants with this outcome, sorted: a statement, or the body of a
 * function without its signature and braces.
 */
function bodies(mutants, outcome) {
  return mutants.filter((mutant) => mutant.outcome === outcome)
    .map(({ mutated }) => mutated.replace(/^.*?\{ | \}$/g, '')).sort();
}

describe('mutate', () => {
  before(() => {
    for (const args of [['-S', sample, '-B', build, '-G', 'Ninja'], ['--build', build]]) {
      const result = run('cmake', ...args);
      assert.equal(result.status, 0, result.stdout + result.stderr);
    }
  });
  after(() => rmSync(build, { recursive: true }));

  it('passes when each survivor is listed as equivalent', () => {
    const { status, mutants } = mutate('code/greater.cc');
    assert.deepEqual(bodies(mutants, 'equivalent'), ['return one >= other ? one : other;']);
    assert.deepEqual(bodies(mutants, 'killed'), [
      'return !(one > other) ? one : other;',
      'return one <= other ? one : other;',
      'return {};',
    ]);
    assert.equal(mutants.length, 4);
    assert.equal(status, 0);
  });

  it('fails and names a survivor that is not listed', () => {
    const { status, report, mutants } = mutate('code/adult.cc');
    assert.deepEqual(bodies(mutants, 'survived'), [
      'return age > 0x12;',
      'return age >= 17;',
      'return age >= 19;',
    ]);
    assert.deepEqual(bodies(mutants, 'killed'), [
      'return !(age >= 0x12);',
      'return "" + name;',
      'return "Hello ~" + name;',
      'return age < 0x12;',
      'return {};',
      'return {};',
    ]);
    assert.deepEqual(bodies(mutants, 'not compiled'), ['return "Hello " - name;']);
    assert.match(report, /^code\/adult\.cc:4 operator in isAdult$/m);
    assert.equal(status, 1);
  });

  it('reports an entry of the list that matches no mutant', () => {
    assert.match(mutate('--sample', '1').report, /No mutant matches this entry.*greater\n {4}- return former;/);
  });

  it('runs the same sample for the same seed, and another one for another seed', () => {
    const seed = (number) => mutate('--sample', '3', '--seed', number).mutants;
    const chosen = seed('5');
    assert.equal(chosen.length, 3);
    assert.deepEqual(seed('5'), chosen);
    assert.notDeepEqual(seed('6'), chosen);
  });
});
