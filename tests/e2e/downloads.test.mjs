// Files that arrive: what is asked for them, under which name they are kept, and
// that they open.

import assert from 'node:assert/strict';
import { readFileSync, readdirSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { OnlineServer } from '../support/desktop/online_server.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const link = (id, href) => `<a id="${id}" href="${href}">${id}</a>`;

const file = (disposition, rest = {}) => ({
  headers: { 'content-type': 'text/csv', 'content-disposition': disposition },
  body: 'een;twee\n',
  ...rest,
});

test('an export is asked for with its query, the key and the cookies of its host', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    // An earlier day left a cookie of another host.
    const foreign = await OnlineServer.open({
      routes: {
        '/': {
          page: '', headers: { 'set-cookie': 'vreemd=ja; Max-Age=86400' },
        },
      },
    });
    try {
      user.setPlistValues({ ORVELOSURL: foreign.address });
      const run = user.start();
      await foreign.awaitPainted();
      await user.quit(run);
      user.setPlistValues({ ORVELOSURL: 'http://127.0.0.1:4767/' });
      const layout = await user.startWithPage(
        link('export', '/api/export?van=2026-01-01&wat=alles%20bij%20elkaar') +
        "<script>document.cookie = 'eigen=een'; document.cookie = 'dieper=twee; path=/elders'" +
        '</script><img src="/afbeelding">', {
          routes: {
            '/api/export': file('attachment; filename="export.csv"'),
            '/afbeelding': { headers: { 'set-cookie': 'dicht=drie; HttpOnly' } },
          },
        });
      await screen.clickElement(layout, 'export');
      assert.equal(await desktop.awaitFile('export.csv'), 'een;twee\n');
      const path = '/api/export?van=2026-01-01&wat=alles%20bij%20elkaar';
      const asked = user.root.events('request').filter(({ url }) => url.startsWith('/api/export'));
      assert.deepEqual(asked.map(({ method, url }) => `${method} ${url}`), [`GET ${path}`]);
      assert.equal(asked[0].headers['x-orvel-app'], KEY);
      const cookies = asked[0].headers.cookie.split('; ').sort();
      assert.deepEqual(cookies,
        ['persistent=yes', 'dicht=drie', 'dieper=twee', 'eigen=een', `orvelapp=${KEY}`]);
      await user.quit();
    } finally {
      foreign.close();
    }
  });

test('three files of one name that end together are all kept, and each opens', {},
  async (user, screen) => {
    const gate = join(user.folder, 'de poort');
    const desktop = new Desktop(user);
    const paths = [1, 2, 3].map((number) => `/api/bestand/${number}`);
    const layout = await user.startWithPage(
      paths.map((path) => link(path, path)).join(''), {
        routes: Object.fromEntries(paths.map((path) => [path, file(
          'attachment; filename="data.csv"', { gate, body: `begin van ${path} en het eind` })])),
      });
    for (const path of paths) await screen.clickElement(layout, path);
    await waitFor('three requests', () =>
      paths.every((path) => user.root.requests(path).length === 1));
    assert.deepEqual(desktop.files(), [], 'nothing is there before it is whole');
    assert.deepEqual(desktop.opened(), []);
    writeFileSync(gate, '');
    const names = ['data.csv', 'data 2.csv', 'data 3.csv'];
    const texts = [];
    for (const name of names) texts.push(await desktop.awaitFile(name));
    assert.deepEqual(texts.sort(), paths.map((path) => `begin van ${path} en het eind`));
    assert.deepEqual(desktop.files(), [...names].sort());
    await user.quit();
    const opened = names.map((name) => join(desktop.downloads, name));
    assert.deepEqual(await desktop.openedAfterExit(), opened.sort());
  });

const names = {
  'quotes in quotes': ['attachment; filename="een \\"twee\\" drie.csv"', 'een "twee" drie.csv'],
  'both spellings': [
    "attachment; filename=\"resume.csv\"; filename*=UTF-8''r%C3%A9sum%C3%A9%20%E2%82%AC.csv",
    'résumé €.csv',
  ],
  'a folder': ['attachment; filename="a/b.csv"', 'a-b.csv'],
  'a way out': ['attachment; filename="../../eruit.csv"', '..-..-eruit.csv'],
  'a long name': [`attachment; filename="${'l'.repeat(300)}.csv"`, `${'l'.repeat(251)}.csv`],
  'no name': ['inline', 'geen naam.csv', '/api/bestand/geen%20naam'],
  'an unnamed folder': ['attachment; filename=".."', 'punten', '/api/bestand/punten'],
};

test('a file takes the name that the server suggests, and never leaves the folder', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const cases = Object.values(names).map(([disposition, name, path], index) =>
      ({ id: `n${index}`, disposition, name, path: path ?? `/api/bestand/n${index}` }));
    const layout = await user.startWithPage(cases.map(({ id, path }) => link(id, path)).join(''), {
      routes: Object.fromEntries(cases.map(({ path, disposition }) => [path, file(disposition)])),
    });
    for (const { id, path } of cases) {
      await screen.clickElement(layout, id);
      await waitFor(`the answer to ${path}`, () =>
        user.root.events('responseClosed').some(({ url }) => url === path));
    }
    await waitFor('all files', () => desktop.opened().length === cases.length);
    assert.deepEqual(desktop.files(), cases.map(({ name }) => name).sort());
    await user.quit();
    await desktop.openedAfterExit();
    assert.deepEqual(readdirSync(user.home), ['Downloads']);
  });

test('a file of yesterday keeps its name, and a folder of your own is used', {},
  async (user, screen) => {
    const desktop = new Desktop(user, { downloads: join(user.home, 'Mijn ontvangsten') });
    writeFileSync(join(desktop.downloads, 'data.csv'), 'van gisteren');
    writeFileSync(join(desktop.downloads, 'data 2.csv'), 'van gisteren');
    const layout = await user.startWithPage(link('export', '/api/export'), {
      routes: { '/api/export': file('attachment; filename="data.csv"') },
    });
    await screen.clickElement(layout, 'export');
    assert.equal(await desktop.awaitFile('data 3.csv'), 'een;twee\n');
    assert.equal(readFileSync(join(desktop.downloads, 'data.csv'), 'utf8'), 'van gisteren');
    assert.equal(readFileSync(join(desktop.downloads, 'data 2.csv'), 'utf8'), 'van gisteren');
    await user.quit();
    assert.deepEqual(readdirSync(user.home), ['Mijn ontvangsten']);
  });

/// The resident memory of a process in bytes, its shared pages not counted.
function ownMemory(pid) {
  const status = readFileSync(`/proc/${pid}/status`, 'latin1');
  return Number(/^RssAnon:\s*(\d+) kB$/m.exec(status)[1]) * 1024;
}

test('a file of 1 GiB passes through without being held in memory', { timeout: 120_000 },
  async (user, screen, t) => {
    const size = 2 ** 30;
    const desktop = new Desktop(user);
    const layout = await user.startWithPage(link('small', '/api/bestand/klein') +
      link('large', '/api/bestand/groot'), {
      routes: {
        '/api/bestand/klein': file('attachment; filename="klein.csv"'),
        '/api/bestand/groot': {
          headers: { 'content-disposition': 'attachment; filename="groot.bin"' }, zeroBytes: size,
        },
      },
    });
    const { pid } = user.runs[0];
    // A first, small one makes all that any download needs once.
    await screen.clickElement(layout, 'small');
    await desktop.awaitFile('klein.csv');
    const before = ownMemory(pid);
    let most = before;
    let samples = 0;
    const path = join(desktop.downloads, 'groot.bin');
    const begin = Date.now();
    await screen.clickElement(layout, 'large');
    const start = await waitFor('the file', () => {
      most = Math.max(most, ownMemory(pid));
      samples += 1;
      return desktop.launches().find(({ given }) => given === path);
    }, { timeout: 90_000, every: 5 });
    const took = Date.now() - begin;
    t.diagnostic(`${took} ms, ${((most - before) / 2 ** 20).toFixed(1)} MiB more than before, ` +
      `${samples} samples`);
    assert.equal(start.size, size);
    assert.equal(statSync(path).size, size);
    assert.ok(most - before <= 16 * 2 ** 20, `${most - before} bytes more than before`);
    assert.ok(samples >= 20, `only ${samples} samples`);
    rmSync(path);
    await user.quit();
  });
