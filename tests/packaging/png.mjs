// Reads a PNG of eight bits a channel with alpha, as drawings become.

import assert from 'node:assert/strict';
import { inflateSync } from 'node:zlib';

/// { width, height, pixel(x, y) }, where a pixel is [red, green, blue, alpha].
export function readPng(bytes) {
  assert.equal(bytes.subarray(0, 8).toString('latin1'), '\x89PNG\r\n\x1a\n');
  const parts = [];
  let header;
  let at = 8;
  for (let type = ''; type !== 'IEND';) {
    const length = bytes.readUInt32BE(at);
    type = bytes.toString('latin1', at + 4, at + 8);
    const content = bytes.subarray(at + 8, at + 8 + length);
    if (type === 'IHDR') header = content;
    if (type === 'IDAT') parts.push(content);
    at += length + 12;
  }
  assert.equal(at, bytes.length);
  const width = header.readUInt32BE(0);
  const height = header.readUInt32BE(4);
  // Eight bits, colour with alpha, not interlaced.
  assert.deepEqual([...header.subarray(8)], [8, 6, 0, 0, 0]);

  const stride = 4 * width;
  const raw = inflateSync(Buffer.concat(parts));
  assert.equal(raw.length, height * (stride + 1));
  const pixels = Buffer.alloc(height * stride);
  for (let y = 0; y < height; y += 1) {
    const filter = raw[y * (stride + 1)];
    for (let x = 0; x < stride; x += 1) {
      const left = x < 4 ? 0 : pixels[y * stride + x - 4];
      const above = y === 0 ? 0 : pixels[(y - 1) * stride + x];
      const corner = x < 4 || y === 0 ? 0 : pixels[(y - 1) * stride + x - 4];
      const predicted = [0, left, above, (left + above) >> 1, paeth(left, above, corner)][filter];
      pixels[y * stride + x] = raw[y * (stride + 1) + 1 + x] + predicted;
    }
  }
  return { width, height, pixel: (x, y) => [...pixels.subarray(y * stride + 4 * x).subarray(0, 4)] };
}

// Of the three neighbours the one nearest to left + above - corner.
function paeth(left, above, corner) {
  const [a, b, c] = [above - corner, left - corner, left + above - 2 * corner].map(Math.abs);
  if (a <= b && a <= c) return left;
  return b <= c ? above : corner;
}
