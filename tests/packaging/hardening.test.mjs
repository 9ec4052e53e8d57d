// The protections against memory errors in the optimised executable.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

const application = process.env.ORVEL_APP;
const readelf = (...options) => execFileSync('readelf', ['--wide', ...options, application],
  { encoding: 'utf8', env: { ...process.env, LC_ALL: 'C' } });

const protections = {
  'a position-independent executable (-pie)': () => /Type: +DYN/.test(readelf('--file-header')),
  'a stack that is not executable': () =>
    /GNU_STACK(?:\s+0x\w+)+ +RW +/.test(readelf('--program-headers')),
  'read-only relocations (-z relro)': () => /GNU_RELRO/.test(readelf('--program-headers')),
  'symbols bound at the start (-z now)': () => /FLAGS_1.*\bNOW\b/.test(readelf('--dynamic')),
  'stack canaries (-fstack-protector-strong)': () =>
    /__stack_chk_fail/.test(readelf('--dyn-syms')),
  'checked library functions (_FORTIFY_SOURCE)': () =>
    /__(?!stack)\w+_chk\b/.test(readelf('--dyn-syms')),
  'checked preconditions of the C++ library (_GLIBCXX_ASSERTIONS)': () =>
    readFileSync(application).includes("Assertion '%s' failed") ||
    /__glibcxx_assert_fail/.test(readelf('--dyn-syms')),
  // The linker records the protection in the program's notes only if the C library has it too,
  // which Debian's has not.
  'marked targets of indirect jumps (-fcf-protection)': () => {
    const endbr64 = Buffer.from('f30f1efa', 'hex');
    return process.arch !== 'x64' || readFileSync(application).toString('latin1')
      .split(endbr64.toString('latin1')).length > 100;
  },
};

for (const [protection, isPresent] of Object.entries(protections)) {
  test(protection, () => assert.ok(isPresent()));
}
