// Access to what pages report to a test server.

import { waitFor } from './wait.mjs';

/// The reports of the pages of a server. The subclass has reported(name), which returns the
/// data of all reports of that name.
export class PageReports {
  /// Waits for the `count`th report of a name and returns the last one.
  async awaitReport(name, count = 1) {
    await waitFor(`${count} reports "${name}"`, () => this.reported(name).length >= count);
    return this.reported(name).at(-1);
  }

  /// Waits until pages have been painted `count` times in all; returns the last layout.
  awaitPainted(count = 1) {
    return this.awaitReport('painted', count);
  }

  async awaitFieldText(text) {
    await waitFor(`"${text}" in the field`, () => this.reported('field').at(-1)?.value === text);
  }
}
