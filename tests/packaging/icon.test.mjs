// The icon of the macOS application: the container format, the images in it, and that they
// match the SVG.

import assert from 'node:assert/strict';
import { existsSync, readFileSync, readdirSync, statSync } from 'node:fs';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { pathOf } from '../support/desktop/processes.mjs';
import { decodePng } from '../support/image.mjs';
import { ScriptFixture, assertFailed, assertSucceeded } from './script_fixture.mjs';

const committedIcon = fileURLToPath(new URL('../../packaging/macos/orvel-os.icns', import.meta.url));
const skip = pathOf('rsvg-convert') === '' ? 'rsvg-convert is not installed' : false;

let fixture;
beforeEach(() => { fixture = new ScriptFixture('packaging'); });
afterEach(() => fixture.remove());

/// Parses an icon file into entries of [type, content]. A file and each entry begin with four
/// letters and their own length.
function parseEntries(bytes) {
  assert.equal(bytes.toString('latin1', 0, 4), 'icns');
  assert.equal(bytes.readUInt32BE(4), bytes.length);
  const found = [];
  for (let offset = 8; offset < bytes.length;) {
    const length = bytes.readUInt32BE(offset + 4);
    const end = offset + length;
    assert.ok(length > 8 && end <= bytes.length, `an entry has the length ${length}`);
    found.push([bytes.toString('latin1', offset, offset + 4), bytes.subarray(offset + 8, end)]);
    offset = end;
  }
  return found;
}

/// The width in pixels of the square image of each type.
const widths = {
  ic07: 128, ic08: 256, ic09: 512, ic10: 1024, ic11: 32, ic12: 64, ic13: 256, ic14: 512,
};

function assertImages(bytes) {
  const images = parseEntries(bytes).map(([type, png]) => [type, decodePng(png)]);
  assert.deepEqual(images.map(([type]) => type), Object.keys(widths));
  for (const [type, image] of images) {
    const { width, height } = image;
    assert.deepEqual([width, height], [widths[type], widths[type]], type);
    // The coordinates are fractions of the width and height.
    const pixelAt = (x, y) => image.pixel(Math.floor(x * width), Math.floor(y * height));
    // Transparent at the edges, a dark plate, a light point in the centre.
    for (const [x, y] of [[0, 0], [0.99, 0], [0, 0.99], [0.99, 0.99], [0.05, 0.5], [0.5, 0.95]]) {
      assert.equal(pixelAt(x, y)[3], 0, `${type}: opacity at ${x}, ${y}`);
    }
    const plate = pixelAt(0.3, 0.15);
    assert.equal(plate[3], 255, `${type}: opacity of the plate`);
    assert.ok(plate.slice(0, 3).every((value) => value < 60), `${type}: plate of colour ${plate}`);
    assert.deepEqual(pixelAt(0.5, 0.5), [0xee, 0xf6, 0xff, 255], `${type}: centre`);
  }
}

test('the committed icon has the images of all sizes', () => {
  assertImages(readFileSync(committedIcon));
});

test('the script writes the icon of the current SVG', { skip }, () => {
  fixture.addSystemTool('rsvg-convert');
  const file = fixture.path('an icon.icns');
  assert.equal(assertSucceeded(fixture.run('make-icns.sh', [file])), `make-icns: ${file}\n`);
  assert.equal(statSync(file).mode & 0o777, 0o666 & ~process.umask());
  const made = readFileSync(file);
  assertImages(made);

  // Another version of librsvg may render some edges differently.
  const [madePixels, committedPixels] = [made, readFileSync(committedIcon)].map((bytes) =>
    decodePng(new Map(parseEntries(bytes)).get('ic08')).pixels);
  const different = madePixels
    .filter((value, index) => Math.abs(value - committedPixels[index]) > 24).length;
  assert.ok(different < 300, `${different} values differ: the SVG has changed, run make-icns.sh`);
});

test('a missing or failing tool and wrong arguments leave the icon unchanged', () => {
  const failure = (...args) => assertFailed(fixture.run('make-icns.sh', ...args));
  assert.match(failure(), /^make-icns: rsvg-convert is not installed; /);
  fixture.addTool('rsvg-convert');
  assert.match(failure([], { FAILS: 'rsvg-convert *' }),
    /make-icns: rsvg-convert could not render the icon at 32 by 32\n$/);
  assert.match(failure(['a', 'b']), /^make-icns: usage: /);
  // This rsvg-convert succeeds without writing an image.
  assert.match(failure(), /ENOENT/);
  const icon = readFileSync(fixture.path('packaging/macos/orvel-os.icns'));
  assert.ok(icon.equals(readFileSync(committedIcon)));
  assert.deepEqual(readdirSync(fixture.path('tmp')), []);
});

test('Info.plist names the icon in the bundle', () => {
  const information = readFileSync(fixture.path('packaging/macos/Info.plist.in'), 'utf8');
  const [, name] = /<key>CFBundleIconFile<\/key>\s*<string>([^<]*)</.exec(information);
  assert.ok(existsSync(fixture.path(`packaging/macos/${name}.icns`)));
});
