// The screen of a viewer, checked pixel by pixel so that polling costs next to nothing.

import { join } from 'node:path';

import { Framebuffer } from '../../tests/support/image.mjs';
import { BAND, MARK } from './pages.mjs';

export class ViewerScreen extends Framebuffer {
  constructor(folder) {
    super(join(folder, 'Xvfb_screen0'));
  }

  /// Returns whether no window covers the screen.
  isBare() {
    return this.shows([0, 0, 0], this.width >> 1, this.height >> 1);
  }

  /// Returns whether the finished page is shown from edge to edge, with its content and marks.
  showsPage() {
    const low = this.height - 40;
    return [30, (this.width >> 1) + 20, this.width - 60].every((x) => this.shows(MARK, x, low)) &&
      [30, this.width >> 1, this.width - 60].every((x) => this.shows(BAND, x, 140));
  }
}
