// The libraries that the executable links directly. Their sonames do not change between
// distribution releases, so that an executable built on one release starts on the next.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { test } from 'node:test';

const stable = new RegExp(`^(${[
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
  const dynamic = execFileSync('readelf', ['--dynamic', '--wide', process.env.ORVEL_APP],
    { encoding: 'utf8', env: { ...process.env, LC_ALL: 'C' } });
  const needed = dynamic.match(/(?<=\(NEEDED\).*\[)[^\]]+/g);
  assert.ok(needed.includes('libwebkitgtk-6.0.so.4'), dynamic);
  assert.deepEqual(needed.filter((library) => !stable.test(library)), []);
});
