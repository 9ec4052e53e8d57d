// The picture on a virtual screen, read straight from its frame buffer. The
// layout is that of an XWD file (X11/XWDFile.h), 32 bits a pixel.

import { closeSync, fstatSync, openSync, readSync } from 'node:fs';

const HEADER_SIZE = 0;
const WIDTH = 16;
const HEIGHT = 20;
const BYTES_PER_LINE = 48;
const COLOURS = 76;
const COLOUR_SIZE = 12;

export class Picture {
  /// Reads the frame buffer file of an Xvfb screen.
  static read(path) {
    const file = openSync(path, 'r');
    try {
      const bytes = Buffer.allocUnsafe(fstatSync(file).size);
      readSync(file, bytes, 0, bytes.length, 0);
      return new Picture(bytes);
    } finally {
      closeSync(file);
    }
  }

  constructor(bytes) {
    this.width = bytes.readUInt32BE(WIDTH);
    this.height = bytes.readUInt32BE(HEIGHT);
    this.stride = bytes.readUInt32BE(BYTES_PER_LINE);
    const start = bytes.readUInt32BE(HEADER_SIZE) + bytes.readUInt32BE(COLOURS) * COLOUR_SIZE;
    this.pixels = bytes.subarray(start);
  }

  /// Red, green and blue at a place.
  pixel(x, y) {
    const offset = y * this.stride + x * 4;
    return [this.pixels[offset + 2], this.pixels[offset + 1], this.pixels[offset]];
  }

  /// Whether the pixel at a place has this colour, within the rounding of
  /// drawing.
  shows(colour, x = this.width >> 1, y = this.height >> 1) {
    return this.pixel(x, y).every((value, index) => Math.abs(value - colour[index]) <= 2);
  }

  /// The pixels of a part, as one text.
  region({ x, y, width, height }) {
    const lines = Array.from({ length: height }, (_, line) => {
      const offset = (y + line) * this.stride + x * 4;
      return this.pixels.subarray(offset, offset + width * 4).toString('base64');
    });
    return lines.join('\n');
  }

  /// The share of pixels, from the line `top` down, with a component above
  /// `limit`.
  shareBrighterThan(limit, top = 0) {
    let count = 0;
    for (let y = top; y < this.height; y += 1) {
      const end = y * this.stride + this.width * 4;
      for (let offset = y * this.stride; offset < end; offset += 4) {
        const { pixels } = this;
        if (pixels[offset] > limit || pixels[offset + 1] > limit || pixels[offset + 2] > limit) {
          count += 1;
        }
      }
    }
    return count / (this.width * (this.height - top));
  }
}
