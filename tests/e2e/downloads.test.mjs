import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop, barrierLink, barrierUrl } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { link } from '../support/desktop/page.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const attachment = (name) => `attachment; filename="${name}"`;
/// Returns a route to a CSV file with this Content-Disposition and the `rest` of its properties
/// (responses.mjs). With a `gate`, half of the body waits until that file exists.
const fileRoute = (disposition, rest = {}) => ({
  headers: { 'content-type': 'text/csv', 'content-disposition': disposition },
  body: 'one;two\n',
  ...rest,
});
/// Returns the URL path of a file on the server.
const stored = (name) => `/api/bestand/${name}`;
const storedLink = (name) => link(name, stored(name));

test('an export is requested with its query, the key and the cookies of its host',
  async (user) => {
    const desktop = new Desktop(user);
    const url = '/api/export?from=2026-01-01&for=everything%20together';
    const layout = await user.startWithPage(`${link('export', url)}<script>
      document.cookie = 'own=one';
      document.cookie = 'otherPath=two; path=/elsewhere';
    </script><img src="/image">`, {
      '/api/export': fileRoute(attachment('export.csv')),
      '/image': { headers: { 'set-cookie': 'httpOnly=three; HttpOnly' } },
    });
    assert.equal(await desktop.clickAndAwaitFile(layout, 'export', 'export.csv'), 'one;two\n');
    const requests = user.localServer.requests.filter((each) => each.url.startsWith('/api/export'));
    assert.deepEqual(requests.map((request) => `${request.method} ${request.url}`), [`GET ${url}`]);
    assert.equal(requests[0].headers['x-orvel-app'], APP_KEY);
    // All cookies of the host are sent, regardless of their path. The page of startWithPage() sets
    // the cookie "persistent".
    assert.deepEqual(requests[0].headers.cookie.split('; ').sort(),
      ['httpOnly=three', `orvelapp=${APP_KEY}`, 'otherPath=two', 'own=one', 'persistent=yes']);
  });

test('downloads of the same name that complete together are all kept and opened',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const paths = [1, 2, 3].map(stored);
    const layout = await user.startWithPage(paths.map((path) => link(path, path)).join(''),
      Object.fromEntries(paths.map((path) =>
        [path, fileRoute(attachment('data.csv'),
          { gate: user.gate, body: `begin of ${path} and end` })])));
    for (const path of paths) await screen.clickElement(layout, path);
    await waitFor('the first half of each file', () =>
      user.localServer.events('chunkSent').length === paths.length);
    assert.deepEqual(desktop.downloadedFiles(), [], 'no incomplete file is visible');
    assert.deepEqual(desktop.opened(), []);
    writeFileSync(user.gate, '');
    const names = ['data 2.csv', 'data 3.csv', 'data.csv'];
    const texts = [];
    for (const name of names) texts.push(await desktop.awaitOpenedFile(name));
    assert.deepEqual(texts.sort(), paths.map((path) => `begin of ${path} and end`));
    assert.deepEqual(desktop.downloadedFiles(), names);
    for (const path of paths) {
      assert.equal(user.localServer.requestsTo(path).length, 1, `one request for ${path}`);
    }
    await desktop.quitAndAssertOpened(...names);
  });

/// Content-Disposition, the expected name of the file and, where this name depends on it, the path
/// of the stored file. A missing name becomes the last component of the path with the extension of
/// the media type, and an unusable name becomes that component alone.
const suggestedNames = {
  'escaped quotes': ['attachment; filename="one \\"two\\" three.csv"', 'one "two" three.csv'],
  'both forms of the parameter': [
    "attachment; filename=\"resume.csv\"; filename*=UTF-8''r%C3%A9sum%C3%A9%20%E2%82%AC.csv",
    'résumé €.csv',
  ],
  'a folder': [attachment('a/b.csv'), 'a-b.csv'],
  'parent folders': [attachment('../../outside.csv'), '..-..-outside.csv'],
  'a name longer than 255 bytes': [attachment(`${'l'.repeat(300)}.csv`), `${'l'.repeat(251)}.csv`],
  'no file name': ['inline', 'no name.csv', stored('no%20name')],
  'two dots': [attachment('..'), 'dots', stored('dots')],
};

test('a file gets the suggested name and stays in the Downloads folder', async (user, screen) => {
  const desktop = new Desktop(user);
  const cases = Object.values(suggestedNames).map(([disposition, name, path], index) =>
    ({ id: `case${index}`, disposition, name, path: path ?? stored(`case${index}`) }));
  const layout = await user.startWithPage(cases.map(({ id, path }) => link(id, path)).join(''),
    Object.fromEntries(cases.map(({ path, disposition }) => [path, fileRoute(disposition)])));
  for (const { id, path } of cases) {
    await screen.clickElement(layout, id);
    await user.localServer.awaitResponseClosed(path);
  }
  await waitFor('all files', () => desktop.opened().length === cases.length);
  assert.deepEqual(desktop.downloadedFiles(), cases.map(({ name }) => name).sort());
  await user.quit();
  assert.deepEqual(readdirSync(user.home), ['Downloads']);
});

test('existing files are kept, and the XDG download folder is used', async (user) => {
  const desktop = new Desktop(user, { downloads: join(user.home, 'My files') });
  const existing = ['data.csv', 'data 2.csv'];
  for (const name of existing) writeFileSync(desktop.downloadPath(name), 'existing');
  const layout = await user.startWithPage(link('export', '/api/export'),
    { '/api/export': fileRoute(attachment('data.csv')) });
  assert.equal(await desktop.clickAndAwaitFile(layout, 'export', 'data 3.csv'), 'one;two\n');
  for (const name of existing) {
    assert.equal(readFileSync(desktop.downloadPath(name), 'utf8'), 'existing');
  }
  await user.quit();
  assert.deepEqual(readdirSync(user.home), ['My files']);
});

test('a script without a click of the user neither saves nor opens a file', async (user) => {
  const desktop = new Desktop(user);
  const scripts = `<script>
    onload = () => setTimeout(() => {
      document.getElementById('attribute').click();
      frames[0].location = '/attachment';
      report('scriptRan');
    }, 100);
  </script>`;
  const layout = await user.startWithPage(`${link('attribute', '/scripted', 'download')}
    ${link('clicked', '/clicked', 'download')}${barrierLink}${link('response', '/redirect')}
    <iframe></iframe>${scripts}`, {
    '/redirect': { status: 302, headers: { location: '/attachment' } },
    '/scripted': fileRoute('inline'),
    '/clicked': fileRoute('inline'),
    '/attachment': fileRoute(attachment('attachment.csv')),
  });
  await user.localServer.awaitReport('scriptRan');
  await user.localServer.awaitResponseClosed('/attachment');
  // Once the barrier link is opened, the application has handled all earlier navigations.
  await desktop.clickBarrierLink(layout);
  assert.equal(await desktop.clickAndAwaitFile(layout, 'clicked', 'clicked.csv'), 'one;two\n');
  // Probes (/api/wie) and downloads have the key header. The web view's requests do not.
  const downloads = user.localServer.requests
    .filter(({ url, headers }) => url !== '/api/wie' && headers['x-orvel-app']);
  assert.deepEqual(downloads.map(({ url }) => url), ['/clicked']);
  assert.deepEqual(desktop.downloadedFiles(), ['clicked.csv']);
  for (const [id, name] of [['attribute', 'scripted.csv'], ['response', 'attachment.csv']]) {
    assert.equal(await desktop.clickAndAwaitFile(layout, id, name), 'one;two\n');
  }
  await desktop.quitAndAssertOpened(barrierUrl, 'clicked.csv', 'scripted.csv', 'attachment.csv');
});

/// Returns a route to data.csv. Its default body has several kilobytes, so that half of it is sent
/// before the server truncates it.
const dataCsvRoute = (rest) =>
  fileRoute(attachment('data.csv'), { body: 'one;two\n'.repeat(1000), ...rest });

/// Returns the paths of everything below a folder.
const pathsBelow = (folder) => readdirSync(folder, { recursive: true }).sort();

test('a response other than 200 and a truncated response leave no file', async (user, screen) => {
  const desktop = new Desktop(user);
  const routes = {
    missing: dataCsvRoute({ status: 404 }),
    refused: dataCsvRoute({ status: 401 }),
    broken: dataCsvRoute({ status: 500 }),
    partial: dataCsvRoute({ status: 206 }),
    empty: { status: 204 },
    redirected: { status: 302, headers: { location: stored('nowhere') } },
    truncated: dataCsvRoute({ truncated: true }),
    complete: dataCsvRoute(),
  };
  const names = Object.keys(routes);
  const layout = await user.startWithPage(names.map(storedLink).join(''),
    Object.fromEntries(names.map((name) => [stored(name), routes[name]])));
  for (const name of names) {
    await screen.clickElement(layout, name);
    await user.localServer.awaitResponseClosed(stored(name));
  }
  await desktop.awaitOpenedFile('data.csv');
  assert.equal(user.localServer.requestsTo(stored('nowhere')).length, 1, 'redirects are followed');
  await desktop.quitAndAssertOpened('data.csv');
  assert.deepEqual(pathsBelow(user.home), ['Downloads', 'Downloads/data.csv']);
});

const unusableFolders = {
  'a missing Downloads folder': { prepare: () => {}, remaining: [] },
  'a file in place of the Downloads folder': {
    prepare: (path) => writeFileSync(path, 'no folder'), remaining: ['Downloads'],
  },
};
for (const [situation, { prepare, remaining }] of Object.entries(unusableFolders)) {
  test(`a download fails with ${situation}, and later ones succeed`, async (user, screen) => {
    const desktop = new Desktop(user);
    rmSync(desktop.downloads, { recursive: true });
    prepare(desktop.downloads);
    const page = storedLink('early') + barrierLink + storedLink('late');
    const layout = await user.startWithPage(page, {
      [stored('early')]: dataCsvRoute(),
      [stored('late')]: dataCsvRoute({ body: 'later' }),
    });
    await screen.clickElement(layout, 'early');
    await desktop.clickBarrierLink(layout);
    assert.deepEqual(pathsBelow(user.home), remaining);
    rmSync(desktop.downloads, { force: true });
    mkdirSync(desktop.downloads);
    assert.equal(await desktop.clickAndAwaitFile(layout, 'late', 'data.csv'), 'later');
    await desktop.quitAndAssertOpened('data.csv', barrierUrl);
    assert.deepEqual(pathsBelow(user.home), ['Downloads', 'Downloads/data.csv']);
  });
}

/// Starts a download that never ends, and waits until its data are being written.
async function startEndlessDownload(user, screen) {
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(storedLink('endless'),
    { [stored('endless')]: dataCsvRoute({ endless: true }) });
  await screen.clickElement(layout, 'endless');
  // 64 chunks are 16 MiB, more than all buffers between the server and the file hold.
  await waitFor('data in the file', () => user.localServer.events('chunkSent').length > 64);
  assert.deepEqual(desktop.opened(), []);
  return desktop;
}

const endActions = {
  'Control-Q': (user) => user.quit(),
  SIGTERM: (user) => user.terminate(),
  SIGKILL: (user) => user.forceQuit(),
};
for (const [action, end] of Object.entries(endActions)) {
  test(`${action} during a download ends the application and leaves no file`,
    async (user, screen) => {
      const desktop = await startEndlessDownload(user, screen);
      await end(user);
      await desktop.awaitEndAndAssertOpened();
      assert.deepEqual(pathsBelow(user.home), ['Downloads']);
    });
}
