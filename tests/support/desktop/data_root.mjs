// A data root made on the fly, and the record that its server keeps.

import {
  copyFileSync, existsSync, mkdirSync, readFileSync, renameSync, rmSync, writeFileSync,
} from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { isRunning } from './processes.mjs';
import { waitFor } from './wait.mjs';

const harness = dirname(fileURLToPath(import.meta.url));

export class DataRoot {
  /// Makes the folder with its server; a `behaviour` of null leaves it empty.
  constructor(path, behaviour = {}) {
    this.path = path;
    this.script = join(path, 'v3/server.mjs');
    this.log = join(path, 'v3/.local/server.log');
    this.recordPath = join(path, 'v3/record.jsonl');
    mkdirSync(join(path, 'v3'), { recursive: true });
    if (behaviour !== null) this.install(behaviour);
  }

  install(behaviour = {}) {
    copyFileSync(join(harness, 'fixture_server.mjs'), this.script);
    for (const part of ['responses.mjs', 'page.mjs']) {
      copyFileSync(join(harness, part), join(this.path, 'v3', part));
    }
    this.setBehaviour(behaviour);
  }

  /// How the server behaves from its next start on; one that is `live` takes
  /// each answer from what was last said here.
  setBehaviour(behaviour) {
    const path = join(this.path, 'v3/behaviour.json');
    writeFileSync(`${path}.new`, JSON.stringify(behaviour));
    renameSync(`${path}.new`, path);
  }

  /// Everything recorded so far, in order.
  record() {
    if (!existsSync(this.recordPath)) return [];
    // The last piece may still be in the writing.
    return readFileSync(this.recordPath, 'utf8').split('\n').slice(0, -1).map(JSON.parse);
  }

  /// Begins the record anew, while no server runs.
  clearRecord() {
    rmSync(this.recordPath, { force: true });
  }

  events(event) {
    return this.record().filter((line) => line.event === event);
  }

  requests(url, method = 'GET') {
    return this.events('request').filter((line) => line.url === url && line.method === method);
  }

  /// What the page has told under a name.
  reported(name) {
    return this.requests(`/api/${name}`, 'POST').map((line) => JSON.parse(line.body));
  }

  /// Waits until the page has been painted `times` times in all, and gives what
  /// it told the last time.
  async awaitPainted(times = 1) {
    await waitFor(`page painted ${times} times`, () => this.reported('painted').length >= times);
    return this.reported('painted').at(-1);
  }

  /// Waits for the server's `count`th start and gives its line.
  async awaitStarted(count = 1) {
    return waitFor(`server start ${count}`, () => this.events('started')[count - 1]);
  }

  async awaitServerExit(count = 1) {
    const { pid } = await this.awaitStarted(count);
    await waitFor(`end of server ${pid}`, () => !isRunning(pid));
  }
}
