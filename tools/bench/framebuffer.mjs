// The pixels of an Xvfb screen, read one by one from its frame buffer, so that
// looking costs the machine next to nothing. The layout is that of an XWD file
// (X11/XWDFile.h).

import { closeSync, openSync, readSync } from 'node:fs';
import { join } from 'node:path';

import { BAND, MARK } from './heavy_page.mjs';

export class Framebuffer {
  constructor(folder) {
    this.file = openSync(join(folder, 'Xvfb_screen0'), 'r');
    const head = Buffer.alloc(100);
    readSync(this.file, head, 0, head.length, 0);
    this.width = head.readUInt32BE(16);
    this.height = head.readUInt32BE(20);
    this.stride = head.readUInt32BE(48);
    this.start = head.readUInt32BE(0) + head.readUInt32BE(76) * 12;
    this.pixel = Buffer.alloc(4);
  }

  close() {
    closeSync(this.file);
  }

  shows(colour, x, y) {
    readSync(this.file, this.pixel, 0, 4, this.start + y * this.stride + x * 4);
    return [2, 1, 0].every((byte, part) => Math.abs(this.pixel[byte] - colour[part]) <= 3);
  }

  /// Nothing lies over the bare screen.
  isBare() {
    return this.shows([0, 0, 0], this.width >> 1, this.height >> 1);
  }

  /// The finished page, from one edge to the other, its content and its marks.
  showsPage() {
    const low = this.height - 40;
    return [30, (this.width >> 1) + 20, this.width - 60].every((x) => this.shows(MARK, x, low)) &&
      [30, this.width >> 1, this.width - 60].every((x) => this.shows(BAND, x, 140));
  }
}
