// The icon of the macOS application: the container, the pictures in it, and that
// they are those of the drawing.

import assert from 'node:assert/strict';
import { existsSync, readFileSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { decodePng } from '../support/image.mjs';
import { Workshop, located } from './script_fixture.mjs';

const kept = fileURLToPath(new URL('../../packaging/macos/orvel-os.icns', import.meta.url));
const skip = located('rsvg-convert') === '' ? 'rsvg-convert is not installed' : false;

let workshop;
beforeEach(() => { workshop = new Workshop('packaging'); });
afterEach(() => workshop.remove());

/// The entries of an icon file: type and content, read by the lengths.
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

function assertPictures(bytes) {
  const pictures = entries(bytes).map(([type, png]) => [type, decodePng(png)]);
  assert.deepEqual(pictures.map(([type]) => type), Object.keys(widths));
  for (const [type, image] of pictures) {
    const { width, height } = image;
    assert.deepEqual([width, height], [widths[type], widths[type]], type);
    const at = (x, y) => image.pixel(Math.floor(x * width), Math.floor(y * height));
    // Nothing around the plate, which is dark, with a light point in the middle.
    for (const [x, y] of [[0, 0], [0.99, 0], [0, 0.99], [0.99, 0.99], [0.05, 0.5], [0.5, 0.95]]) {
      assert.equal(at(x, y)[3], 0, `${type} ${x} ${y}`);
    }
    const plate = at(0.3, 0.15);
    assert.equal(plate[3], 255, type);
    assert.ok(plate.slice(0, 3).every((value) => value < 60), `${type} ${plate}`);
    assert.deepEqual(at(0.5, 0.5), [0xee, 0xf6, 0xff, 255], type);
  }
}

test('the icon that is kept with the sources is whole', () => {
  assertPictures(readFileSync(kept));
});

test('without iconutil the container is written here, from the drawing of today', { skip }, () => {
  workshop.installed('rsvg-convert');
  const file = workshop.path('een icoon.icns');
  const { status, stdout, stderr } = workshop.run('make-icns.sh', [file]);
  assert.equal(status, 0, stderr);
  assert.equal(stdout, `make-icns: ${file}\n`);
  assert.equal(statSync(file).mode & 0o777, 0o666 & ~process.umask());
  const made = readFileSync(file);
  assertPictures(made);

  // Another version of the renderer may round in another way, no more than that.
  const [now, then] = [made, readFileSync(kept)].map((bytes) =>
    decodePng(new Map(entries(bytes)).get('ic08')));
  let apart = 0;
  for (let y = 0; y < 256; y += 1) {
    for (let x = 0; x < 256; x += 1) {
      const other = then.pixel(x, y);
      if (now.pixel(x, y).some((value, index) => Math.abs(value - other[index]) > 24)) apart += 1;
    }
  }
  assert.ok(apart < 100, `${apart} pixels differ: the drawing has changed, so run make-icns.sh`);
});

test('a Mac hands ten pictures to iconutil', { skip }, () => {
  workshop.installed('rsvg-convert');
  workshop.program('iconutil', `ls "$5" >"${workshop.path('names')}"
cp "$5/icon_128x128@2x.png" "${workshop.path('picture.png')}"
echo made >"$4"`);
  workshop.installed('ls');
  const file = workshop.path('packaging/macos/orvel-os.icns');
  assert.equal(workshop.run('make-icns.sh').status, 0);
  const [[name, c, icns, o, made, iconset, ...more]] = workshop.calls();
  assert.deepEqual([name, c, icns, o, more], ['iconutil', '-c', 'icns', '-o', []]);
  assert.match(made, /\.icns$/);
  assert.match(iconset, /\.iconset$/);
  assert.deepEqual(readFileSync(workshop.path('names'), 'utf8').trim().split('\n').sort(),
    [16, 32, 128, 256, 512].flatMap((points) =>
      [`icon_${points}x${points}.png`, `icon_${points}x${points}@2x.png`]).sort());
  assert.equal(decodePng(readFileSync(workshop.path('picture.png'))).width, 256);
  assert.equal(readFileSync(file, 'utf8'), 'made\n');

  const { status, stderr } = workshop.run('make-icns.sh', [], { FAILS: 'iconutil *' });
  assert.equal(status, 1);
  assert.match(stderr, /make-icns: iconutil did not make the icon\n$/);
  assert.equal(readFileSync(file, 'utf8'), 'made\n');
  assert.deepEqual(readdirSync(workshop.path('tmp')), []);
});

test('what is missing or wrong is named', () => {
  const before = readFileSync(kept);
  assert.match(workshop.run('make-icns.sh').stderr, /^make-icns: rsvg-convert is not installed; /);
  workshop.program('rsvg-convert');
  assert.match(workshop.run('make-icns.sh', [], { FAILS: 'rsvg-convert *' }).stderr,
    /make-icns: the drawing could not be drawn at 16 by 16\n$/);
  assert.match(workshop.run('make-icns.sh', ['a', 'b']).stderr, /^make-icns: usage: /);
  // A program that leaves no picture, and one that leaves the wrong one.
  assert.match(workshop.run('make-icns.sh').stderr, /^write_icns: ENOENT/);
  const [, small] = entries(before).find(([type]) => type === 'ic11');
  writeFileSync(workshop.path('small.png'), small);
  workshop.program('rsvg-convert', `cp "${workshop.path('small.png')}" "$6"`);
  const wrong = workshop.run('make-icns.sh');
  assert.equal(wrong.status, 1);
  assert.match(wrong.stderr, /^write_icns: .*icon_128x128\.png is 32 by 32, not 128 by 128\n$/);
  writeFileSync(workshop.path('small.png'), 'no picture at all, but long enough');
  assert.match(workshop.run('make-icns.sh').stderr, /^write_icns: .* is no PNG\n$/);
  assert.ok(readFileSync(workshop.path('packaging/macos/orvel-os.icns')).equals(before));
});

test('the bundle names the icon that is put into it', () => {
  const information = readFileSync(workshop.path('packaging/macos/Info.plist.in'), 'utf8');
  const [, name] = /<key>CFBundleIconFile<\/key>\s*<string>([^<]*)</.exec(information);
  assert.ok(existsSync(workshop.path(`packaging/macos/${name}.icns`)));
});
