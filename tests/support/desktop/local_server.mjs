// The local server of a test, and its data root, the folder in which the application finds the
// server's script, v3/server.mjs. The script is the fixture server, which records its events in a
// file. User.remove() removes the folder.

import {
  copyFileSync, existsSync, mkdirSync, readFileSync, renameSync, rmSync, writeFileSync,
} from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { isRunning } from './processes.mjs';
import { TestServer } from './test_server.mjs';
import { waitFor } from './wait.mjs';

const supportFolder = dirname(fileURLToPath(import.meta.url));

/// The server that the application starts from the folder `dataRoot`.
export class LocalServer extends TestServer {
  /// Creates the folder, and installs the server unless `behaviour` is null. fixture_server.mjs
  /// lists the members of `behaviour`.
  constructor(dataRoot, behaviour = {}) {
    super();
    this.dataRoot = dataRoot;
    this.script = join(dataRoot, 'v3/server.mjs');
    this.log = join(dataRoot, 'v3/.local/server.log');
    this.recordPath = join(dataRoot, 'v3/record.jsonl');
    mkdirSync(join(dataRoot, 'v3'), { recursive: true });
    if (behaviour === null) return;
    copyFileSync(join(supportFolder, 'fixture_server.mjs'), this.script);
    for (const module of ['responses.mjs', 'page.mjs']) {
      copyFileSync(join(supportFolder, module), join(this.dataRoot, 'v3', module));
    }
    this.setBehaviour(behaviour);
  }

  /// Sets the behaviour of the server: its routes at once, the rest from its next start on.
  setBehaviour(behaviour) {
    this.behaviour = behaviour;
    const path = join(this.dataRoot, 'v3/behaviour.json');
    writeFileSync(`${path}.new`, JSON.stringify(behaviour));
    renameSync(`${path}.new`, path);
  }

  setRoutes(routes = {}) {
    this.setBehaviour({ ...this.behaviour, routes });
  }

  /// Returns all recorded events, in order.
  record() {
    if (!existsSync(this.recordPath)) return [];
    // The server may be writing the last line.
    return readFileSync(this.recordPath, 'utf8').split('\n').slice(0, -1).map(JSON.parse);
  }

  /// Deletes the record. No server may be running.
  clearRecord() {
    rmSync(this.recordPath, { force: true });
  }

  /// Returns the recorded events of a name, in order.
  events(name) {
    return this.record().filter(({ event }) => event === name);
  }

  get requests() {
    return this.events('request');
  }

  /// Waits for the `count`th start of the server and returns its event.
  async awaitStarted(count = 1) {
    return waitFor(`server start ${count}`, () => this.events('started')[count - 1]);
  }

  /// Waits until the `count`th started server has ended.
  async awaitServerExit(count = 1) {
    const { pid } = await this.awaitStarted(count);
    await waitFor(`end of server ${pid}`, () => !isRunning(pid));
  }

  /// Waits until `count` responses to requests for a URL have ended or lost their connection.
  async awaitResponseClosed(url, count = 1) {
    await waitFor(`the end of ${count} responses to ${url}`, () =>
      this.events('responseClosed').filter((line) => line.url === url).length >= count);
  }
}
