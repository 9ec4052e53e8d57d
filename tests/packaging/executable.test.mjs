// The executable links only libraries with a stable soname, and has the protections against memory
// errors that the compiler and the linker add to an optimised build.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

const application = process.env.ORVEL_APP;
const readelf = (...options) => execFileSync('readelf', ['--wide', ...options, application],
  { encoding: 'utf8', env: { ...process.env, LC_ALL: 'C' } });

for (const [protection, option, pattern] of [
  ['the executable is position-independent (-pie)', '--file-header', /Type: +DYN/],
  ['the stack is not executable', '--program-headers', /GNU_STACK(?:\s+0x\w+)+ +RW +/],
  ['relocated data is read-only (-z relro)', '--program-headers', /GNU_RELRO/],
  ['symbols are bound at the start (-z now)', '--dynamic', /FLAGS_1.*\bNOW\b/],
  ['functions check stack canaries (-fstack-protector-strong)', '--dyn-syms', /__stack_chk_fail/],
  ['the C library checks buffer sizes (_FORTIFY_SOURCE)', '--dyn-syms', /__(?!stack)\w+_chk\b/],
]) {
  test(protection, () => assert.match(readelf(option), pattern));
}

test('the C++ library checks preconditions (_GLIBCXX_ASSERTIONS)', () => {
  // GCC 12 compiles the message into the program; later versions call a function of the library.
  assert.ok(readFileSync(application).includes("Assertion '%s' failed") ||
    /__glibcxx_assert_fail/.test(readelf('--dyn-syms')));
});

// Counts the ENDBR64 instructions, which mark targets of indirect jumps. The ELF property IBT
// (indirect branch tracking) would be simpler, but the linker sets it only if all linked objects
// have it, and those of Debian's C library do not.
test('targets of indirect jumps are marked (-fcf-protection)',
  { skip: process.arch !== 'x64' && 'only x86-64 has ENDBR64' }, () => {
    const endbr64 = Buffer.from('f30f1efa', 'hex').toString('latin1');
    const count = readFileSync(application).toString('latin1').split(endbr64).length - 1;
    // With the option the program has some 2,000, without it 2, which are in the start files.
    assert.ok(count > 100, `only ${count} ENDBR64 instructions`);
  });

// The sonames of these libraries do not change between distribution releases, so that an executable
// built on one release starts on the next.
const stableLibrary = new RegExp(`^(${[
  // WebKitGTK, GTK and their dependencies.
  'libwebkitgtk-6\\.0', 'libjavascriptcoregtk-6\\.0', 'libsoup-3\\.0', 'libgtk-4',
  'lib(glib|gobject|gio|gmodule)-2\\.0', 'libpango(cairo)?-1\\.0', 'libcairo(-gobject)?',
  'libgdk_pixbuf-2\\.0', 'libgraphene-1\\.0',
  // Signatures.
  'libgnutls',
  // Archives.
  'libarchive',
  // C and C++.
  'libstdc\\+\\+', 'libgcc_s', 'libc', 'libm', 'ld-linux[-\\w]*',
].join('|')})\\.so\\.\\d+$`);

test('the executable links only libraries with a stable soname', () => {
  const dynamic = readelf('--dynamic');
  const needed = dynamic.match(/(?<=\(NEEDED\).*\[)[^\]]+/g);
  assert.ok(needed.includes('libwebkitgtk-6.0.so.4'), dynamic);
  assert.deepEqual(needed.filter((library) => !stableLibrary.test(library)), []);
});
