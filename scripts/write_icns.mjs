// Writes a macOS icon file from an icon set, on systems without iconutil.
//
//   node scripts/write_icns.mjs ICONSET FILE
//
// ICONSET is a folder in the format of iconutil. The file consists of "icns" and its
// length, then a type, a length and a PNG for each image. Each length is a 32-bit
// big-endian number that includes the 8 bytes of type and length.

import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

/// The types that contain a PNG: type, file name in the icon set, width.
const images = [
  ['ic07', 'icon_128x128.png', 128],
  ['ic08', 'icon_256x256.png', 256],
  ['ic09', 'icon_512x512.png', 512],
  ['ic10', 'icon_512x512@2x.png', 1024],
  ['ic11', 'icon_16x16@2x.png', 32],
  ['ic12', 'icon_32x32@2x.png', 64],
  ['ic13', 'icon_128x128@2x.png', 256],
  ['ic14', 'icon_256x256@2x.png', 512],
];

const signature = Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a]);

function fail(text) {
  console.error(`write_icns: ${text}`);
  process.exit(1);
}

function read(path, width) {
  const bytes = readFileSync(path);
  // The first chunk of a PNG is IHDR, which begins with width and height.
  if (bytes.length < 24 || !bytes.subarray(0, 8).equals(signature)) fail(`${path} is not a PNG`);
  const sizes = [bytes.readUInt32BE(16), bytes.readUInt32BE(20)];
  if (sizes.some((size) => size !== width)) {
    fail(`${path} is ${sizes.join(' by ')}, not ${width} by ${width}`);
  }
  return bytes;
}

function withHeader(type, content) {
  const header = Buffer.alloc(8);
  header.write(type, 'latin1');
  header.writeUInt32BE(content.length + 8, 4);
  return Buffer.concat([header, content]);
}

const [folder, file, ...more] = process.argv.slice(2);
if (!file || more.length > 0) fail('usage: node scripts/write_icns.mjs ICONSET FILE');
try {
  const entries = images.map(([type, name, width]) =>
    withHeader(type, read(join(folder, name), width)));
  writeFileSync(file, withHeader('icns', Buffer.concat(entries)));
} catch (error) {
  fail(error.message);
}
