import assert from 'node:assert/strict';
import { closeSync, fstatSync, openSync, readSync } from 'node:fs';
import { inflateSync } from 'node:zlib';

/// An image with four bytes a pixel. `channels` are the offsets of the colour channels
/// within a pixel, `stride` is the length of a row in bytes.
export class Image {
  constructor({ width, height, stride, channels, pixels }) {
    Object.assign(this, { width, height, stride, channels, pixels });
  }

  /// Returns the channels of a pixel: red, green, blue, and alpha in a PNG.
  pixel(x, y) {
    const offset = y * this.stride + x * 4;
    return this.channels.map((channel) => this.pixels[offset + channel]);
  }

  /// Returns whether a pixel, by default the middle one, has this colour.
  shows(colour, x = this.width >> 1, y = this.height >> 1) {
    return isNear(this.pixel(x, y), colour);
  }

  /// Returns the share of pixels, from row `top` down, with a channel above `limit`.
  shareBrighterThan(limit, top = 0) {
    const { pixels, stride, width, height } = this;
    let count = 0;
    // On Xvfb and in a PNG, the first three bytes of a pixel are its colour channels.
    for (let y = top; y < height; y += 1) {
      const end = y * stride + width * 4;
      for (let offset = y * stride; offset < end; offset += 4) {
        if (pixels[offset] > limit || pixels[offset + 1] > limit || pixels[offset + 2] > limit) {
          count += 1;
        }
      }
    }
    return count / (width * (height - top));
  }
}

/// The difference by which rendering may round a channel.
const roundingTolerance = 3;

function isNear(colour, expected) {
  return expected.every((value, index) =>
    Math.abs(value - colour[index]) <= roundingTolerance);
}

/// The offsets of red, green and blue in a pixel of an Xvfb screen: blue, green, red, unused.
const xvfbChannels = [2, 1, 0];

/// The framebuffer file of an Xvfb screen: an XWD file (X11/XWDFile.h) with 32 bits a pixel.
export class Framebuffer {
  constructor(path) {
    this.file = openSync(path, 'r');
    const header = this.read(0, 100);
    // The offsets of header_size, ncolors, pixmap_width, pixmap_height and bytes_per_line.
    const [headerSize, colourCount] = [header.readUInt32BE(0), header.readUInt32BE(76)];
    const colourSize = 12;
    this.pixelStart = headerSize + colourCount * colourSize;
    this.width = header.readUInt32BE(16);
    this.height = header.readUInt32BE(20);
    this.stride = header.readUInt32BE(48);
  }

  read(start, length) {
    const bytes = Buffer.allocUnsafe(length);
    readSync(this.file, bytes, 0, length, start);
    return bytes;
  }

  /// Returns whether a pixel has this colour. Reads that pixel alone, which costs far less than a
  /// screenshot.
  shows(colour, x, y) {
    const pixel = this.read(this.pixelStart + y * this.stride + x * 4, 4);
    return isNear(xvfbChannels.map((channel) => pixel[channel]), colour);
  }

  screenshot() {
    const { width, height, stride, pixelStart } = this;
    const pixels = this.read(pixelStart, fstatSync(this.file).size - pixelStart);
    return new Image({ width, height, stride, channels: xvfbChannels, pixels });
  }

  close() {
    closeSync(this.file);
  }
}

/// Returns the Paeth predictor (W3C PNG, section 9.4).
function paeth(left, above, corner) {
  const [a, b, c] = [above - corner, left - corner, left + above - 2 * corner].map(Math.abs);
  if (a <= b && a <= c) return left;
  return b <= c ? above : corner;
}

/// Decodes a PNG of eight bits a channel with alpha, not interlaced.
export function decodePng(bytes) {
  assert.equal(bytes.subarray(0, 8).toString('latin1'), '\x89PNG\r\n\x1a\n');
  const data = [];
  let header;
  let offset = 8;
  for (let type = ''; type !== 'IEND';) {
    const length = bytes.readUInt32BE(offset);
    type = bytes.toString('latin1', offset + 4, offset + 8);
    const content = bytes.subarray(offset + 8, offset + 8 + length);
    if (type === 'IHDR') header = content;
    if (type === 'IDAT') data.push(content);
    // A chunk has 12 more bytes: length, type and checksum.
    offset += length + 12;
  }
  assert.equal(offset, bytes.length, 'the PNG ends with its last chunk');
  // Bit depth, colour type RGBA, compression, filter method, no interlacing.
  assert.deepEqual([...header.subarray(8)], [8, 6, 0, 0, 0]);
  const [width, height] = [header.readUInt32BE(0), header.readUInt32BE(4)];

  const stride = 4 * width;
  const raw = inflateSync(Buffer.concat(data));
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
  return new Image({ width, height, stride, channels: [0, 1, 2, 3], pixels });
}
