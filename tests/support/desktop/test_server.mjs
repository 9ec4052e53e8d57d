// The base class of the test servers: their requests and the reports of their pages.

import assert from 'node:assert/strict';

import { waitFor } from './wait.mjs';

/// A server that records its requests. A page reports an event by a request POST /api/NAME. The
/// subclass has `requests`, all requests in order.
export class TestServer {
  requestsTo(url, method = 'GET') {
    return this.requests.filter((request) => request.url === url && request.method === method);
  }

  /// Returns the data of all reports of a name.
  reported(name) {
    return this.requestsTo(`/api/${name}`, 'POST').map(({ body }) => JSON.parse(body));
  }

  /// Waits for the `count`th report of a name and returns the last one.
  async awaitReport(name, count = 1) {
    await waitFor(`${count} reports "${name}"`, () => this.reported(name).length >= count);
    return this.reported(name).at(-1);
  }

  /// Waits for the `count`th GET request for a URL and returns the last one.
  async awaitRequest(url, count = 1) {
    await waitFor(`${count} requests for ${url}`, () => this.requestsTo(url).length >= count);
    return this.requestsTo(url).at(-1);
  }

  /// Returns how many times a page has been painted.
  paintCount() {
    return this.reported('painted').length;
  }

  /// Waits until pages have been painted `count` times in all, and returns the last layout.
  awaitPainted(count = 1) {
    return this.awaitReport('painted', count);
  }

  /// Fails unless the page has been requested and painted exactly once.
  assertPageLoadedOnce() {
    assert.equal(this.paintCount(), 1, 'the page was painted once');
    assert.equal(this.requestsTo('/').length, 1, 'the page was requested once');
  }

  /// Waits until the last text that a page has reported from its field is this one.
  async awaitFieldText(text) {
    await waitFor(`"${text}" in the field`, () => this.reported('field').at(-1)?.value === text);
  }
}
