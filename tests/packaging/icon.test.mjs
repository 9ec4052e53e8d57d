// The icon of the macOS application: the container format, the images in it, and that they
// match the SVG.

import assert from 'node:assert/strict';
import { existsSync, readFileSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { decodePng } from '../support/image.mjs';
import { ScriptFixture, pathOf } from './script_fixture.mjs';

const committed = fileURLToPath(new URL('../../packaging/macos/orvel-os.icns', import.meta.url));
const skip = pathOf('rsvg-convert') === '' ? 'rsvg-convert is not installed' : false;

let fixture;
beforeEach(() => { fixture = new ScriptFixture('packaging'); });
afterEach(() => fixture.remove());

/// Parses an icon file into entries of type and content.
function entries(bytes) {
  assert.equal(bytes.toString('latin1', 0, 4), 'icns');
  assert.equal(bytes.readUInt32BE(4), bytes.length);
  const found = [];
  for (let at = 8; at < bytes.length;) {
    const length = bytes.readUInt32BE(at + 4);
    assert.ok(length > 8 && at + length <= bytes.length);
    found.push([bytes.toString('latin1', at, at + 4), bytes.subarray(at + 8, at + length)]);
    at += length;
  }
  return found;
}

const widths = {
  ic07: 128, ic08: 256, ic09: 512, ic10: 1024, ic11: 32, ic12: 64, ic13: 256, ic14: 512,
};

function assertImages(bytes) {
  const images = entries(bytes).map(([type, png]) => [type, decodePng(png)]);
  assert.deepEqual(images.map(([type]) => type), Object.keys(widths));
  for (const [type, image] of images) {
    const { width, height } = image;
    assert.deepEqual([width, height], [widths[type], widths[type]], type);
    const at = (x, y) => image.pixel(Math.floor(x * width), Math.floor(y * height));
    // Transparent at the edges, a dark plate, a light point in the centre.
    for (const [x, y] of [[0, 0], [0.99, 0], [0, 0.99], [0.99, 0.99], [0.05, 0.5], [0.5, 0.95]]) {
      assert.equal(at(x, y)[3], 0, `${type} ${x} ${y}`);
    }
    const plate = at(0.3, 0.15);
    assert.equal(plate[3], 255, type);
    assert.ok(plate.slice(0, 3).every((value) => value < 60), `${type} ${plate}`);
    assert.deepEqual(at(0.5, 0.5), [0xee, 0xf6, 0xff, 255], type);
  }
}

test('the committed icon has all images', () => {
  assertImages(readFileSync(committed));
});

test('without iconutil the script writes the container from the current SVG', { skip }, () => {
  fixture.addSystemTool('rsvg-convert');
  const file = fixture.path('an icon.icns');
  const { status, stdout, stderr } = fixture.run('make-icns.sh', [file]);
  assert.equal(status, 0, stderr);
  assert.equal(stdout, `make-icns: ${file}\n`);
  assert.equal(statSync(file).mode & 0o777, 0o666 & ~process.umask());
  const made = readFileSync(file);
  assertImages(made);

  // Another version of librsvg may round differently.
  const [now, then] = [made, readFileSync(committed)].map((bytes) =>
    decodePng(new Map(entries(bytes)).get('ic08')));
  let different = 0;
  for (let y = 0; y < 256; y += 1) {
    for (let x = 0; x < 256; x += 1) {
      const old = then.pixel(x, y);
      if (now.pixel(x, y).some((value, index) => Math.abs(value - old[index]) > 24)) different += 1;
    }
  }
  assert.ok(different < 100, `${different} pixels differ: the SVG has changed, run make-icns.sh`);
});

test('with iconutil the script passes it ten images', { skip }, () => {
  fixture.addSystemTool('rsvg-convert');
  fixture.addTool('iconutil', `ls "$5" >"${fixture.path('names')}"
cp "$5/icon_128x128@2x.png" "${fixture.path('image.png')}"
echo made >"$4"`);
  fixture.addSystemTool('ls');
  const file = fixture.path('packaging/macos/orvel-os.icns');
  assert.equal(fixture.run('make-icns.sh').status, 0);
  const [[name, c, icns, o, made, iconset, ...more]] = fixture.calls();
  assert.deepEqual([name, c, icns, o, more], ['iconutil', '-c', 'icns', '-o', []]);
  assert.match(made, /\.icns$/);
  assert.match(iconset, /\.iconset$/);
  assert.deepEqual(readFileSync(fixture.path('names'), 'utf8').trim().split('\n').sort(),
    [16, 32, 128, 256, 512].flatMap((points) =>
      [`icon_${points}x${points}.png`, `icon_${points}x${points}@2x.png`]).sort());
  assert.equal(decodePng(readFileSync(fixture.path('image.png'))).width, 256);
  assert.equal(readFileSync(file, 'utf8'), 'made\n');

  const { status, stderr } = fixture.run('make-icns.sh', [], { FAILS: 'iconutil *' });
  assert.equal(status, 1);
  assert.match(stderr, /make-icns: iconutil could not write the icon\n$/);
  assert.equal(readFileSync(file, 'utf8'), 'made\n');
  assert.deepEqual(readdirSync(fixture.path('tmp')), []);
});

test('a missing tool, wrong arguments and wrong images are reported', () => {
  const original = readFileSync(committed);
  assert.match(fixture.run('make-icns.sh').stderr, /^make-icns: rsvg-convert is not installed; /);
  fixture.addTool('rsvg-convert');
  assert.match(fixture.run('make-icns.sh', [], { FAILS: 'rsvg-convert *' }).stderr,
    /make-icns: rsvg-convert could not render the icon at 16 by 16\n$/);
  assert.match(fixture.run('make-icns.sh', ['a', 'b']).stderr, /^make-icns: usage: /);
  // An rsvg-convert that writes no image, one of the wrong size, and no PNG.
  assert.match(fixture.run('make-icns.sh').stderr, /^write_icns: ENOENT/);
  const [, small] = entries(original).find(([type]) => type === 'ic11');
  writeFileSync(fixture.path('small.png'), small);
  fixture.addTool('rsvg-convert', `cp "${fixture.path('small.png')}" "$6"`);
  const wrong = fixture.run('make-icns.sh');
  assert.equal(wrong.status, 1);
  assert.match(wrong.stderr, /^write_icns: .*icon_128x128\.png is 32 by 32, not 128 by 128\n$/);
  writeFileSync(fixture.path('small.png'), 'not an image, but long enough');
  assert.match(fixture.run('make-icns.sh').stderr, /^write_icns: .* is not a PNG\n$/);
  assert.ok(readFileSync(fixture.path('packaging/macos/orvel-os.icns')).equals(original));
});

test('Info.plist names the icon in the bundle', () => {
  const information = readFileSync(fixture.path('packaging/macos/Info.plist.in'), 'utf8');
  const [, name] = /<key>CFBundleIconFile<\/key>\s*<string>([^<]*)</.exec(information);
  assert.ok(existsSync(fixture.path(`packaging/macos/${name}.icns`)));
});
