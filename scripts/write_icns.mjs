// Writes a macOS icon file. Unlike iconutil, it runs on every system.
//
//   node scripts/write_icns.mjs IMAGES FILE
//
// IMAGES is a folder of PNG images, each named for its width. The file consists of "icns"
// and its length, then a type, a length and a PNG for each image. Each length is a 32-bit
// big-endian number that includes the 8 bytes of type and length.

import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

/// The types that contain a PNG, each with its width. Some widths have two types, for screens
/// with one and with two pixels a point.
const images = [
  ['ic07', 128], ['ic08', 256], ['ic09', 512], ['ic10', 1024],
  ['ic11', 32], ['ic12', 64], ['ic13', 256], ['ic14', 512],
];

function withHeader(type, content) {
  const header = Buffer.alloc(8);
  header.write(type, 'latin1');
  header.writeUInt32BE(content.length + 8, 4);
  return Buffer.concat([header, content]);
}

const [folder, file] = process.argv.slice(2);
const entries = images.map(([type, width]) =>
  withHeader(type, readFileSync(join(folder, `${width}.png`))));
writeFileSync(file, withHeader('icns', Buffer.concat(entries)));
