// Where links, forms, frames and new windows lead: outside, or nowhere, but
// never to a second window.

import assert from 'node:assert/strict';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { OnlineServer } from '../support/desktop/online_server.mjs';
import { withSessionBus } from '../support/desktop/session_bus.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test, saveScreenshot } = desktopTests();

const beacon = 'https://baken.test/';
const beaconLink = `<a id="baken" href="${beacon}">baken</a>`;

/// Ends a test in which the page stayed: whatever was clicked before the
/// beacon has been decided once the beacon was opened. Exactly `urls` were
/// opened, by a single window.
async function endsWithOpened(user, screen, desktop, layout, maxWindows, urls) {
  await screen.clickElement(layout, 'baken');
  await desktop.awaitOpened(beacon);
  assert.equal(user.root.reported('painted').length, 1, 'the page stays');
  assert.equal(user.root.requests('/').length, 1, 'nor is it asked again');
  await user.quit();
  assert.deepEqual(await desktop.openedAfterExit(), [beacon, ...urls].sort());
  assert.equal(await maxWindows(), 1, 'a second window was seen');
}

test('links to other sites, mail and telephone open as they stand, and the page stays', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const links = {
      http: 'http://elders.test/pad?vraag=a%20b&c=%C3%A9#stuk',
      https: 'https://elders.test:8443/%7Ewie/',
      mailto: 'mailto:iemand@elders.test?subject=Een%20vraag',
      tel: 'tel:+31-20-1234567',
      noSlash: 'http://127.0.0.1:4768',
    };
    const layout = await user.startWithPage(beaconLink + Object.entries(links)
      .map(([id, url]) => `<a id="${id}" href="${url}">${id}</a>`).join(''));
    const maxWindows = screen.watchWindowCount();
    for (const [id, url] of Object.entries(links)) {
      await screen.clickElement(layout, id);
      await desktop.awaitOpened(id === 'noSlash' ? `${url}/` : url);
    }
    await saveScreenshot('links');
    const opened = [...Object.values(links).slice(0, -1), `${links.noSlash}/`];
    await endsWithOpened(user, screen, desktop, layout, maxWindows, opened);
  });

test('a default application that does not answer holds no other one up', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    desktop.activateByDBus('tel', 'nl.orvel.doof');
    await withSessionBus(async (environment, bus) => {
      const layout = await user.startWithPage(
        '<a id="tel" href="tel:112">112</a><a id="web" href="https://elders.test/">web</a>',
        {}, { environment });
      // Whom the bus is to call never answers now.
      process.kill(bus.pid, 'SIGSTOP');
      try {
        await screen.clickElement(layout, 'tel');
        await screen.clickElement(layout, 'web');
        await desktop.awaitOpened('https://elders.test/');
        assert.deepEqual(desktop.opened(), ['https://elders.test/']);
      } finally {
        process.kill(bus.pid, 'SIGCONT');
      }
      await user.quit();
    });
  });

test('a default application starts in the surroundings of the session', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const page = '<a id="link" href="https://elders.test/">link</a>';
    // What the application sets for itself must not reach others; what the user
    // has set, must.
    const users = [
      {},
      { GSK_RENDERER: 'cairo', WEBKIT_DISABLE_DMABUF_RENDERER: '1', EIGEN_WOORD: 'blijft staan' },
    ];
    for (const [index, environment] of users.entries()) {
      const layout = await user.startWithPage(page, {}, { environment });
      await screen.clickElement(layout, 'link');
      const start = await waitFor('an opened link', () => desktop.launches()[index]);
      assert.equal(start.count, 1);
      assert.deepEqual(start.environment, { ...user.environment, ...environment });
      await user.quit();
    }
  });

test('an embedded page of another site opens outside and is not loaded', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const foreign = await OnlineServer.open();
    try {
      const maxWindows = screen.watchWindowCount();
      const layout = await user.startWithPage(
        `${beaconLink}<iframe src="${foreign.address}ingebed"></iframe>`);
      await desktop.awaitOpened(`${foreign.address}ingebed`);
      await endsWithOpened(user, screen, desktop, layout, maxWindows, [`${foreign.address}ingebed`]);
      assert.deepEqual(foreign.requests, []);
    } finally {
      foreign.close();
    }
  });

test('addresses of any other kind lead nowhere', {}, async (user, screen) => {
  const desktop = new Desktop(user);
  const layout = await user.startWithPage(`${beaconLink}
    <a id="data" href="data:text/html,weg">data</a>
    <a id="blob" href="#">blob</a>
    <a id="nothing" href="javascript:void report('script')">javascript</a>
    <a id="file" href="file:///etc/passwd">file</a>
    <a id="ftp" href="ftp://elders.test/">ftp</a>
    <a id="own" href="orvel:iets">eigen</a>
    <button id="setData" onclick="location = 'data:text/html,weg'">data</button>
    <button id="setBlob" onclick="location = blob.href">blob</button>
    <iframe src="data:text/html,<script>fetch('http://127.0.0.1:4767/api/kader')</script>"></iframe>
    <script>blob.href = URL.createObjectURL(new Blob(['weg'], { type: 'text/html' }))</script>`);
  const maxWindows = screen.watchWindowCount();
  const ids = ['data', 'blob', 'nothing', 'file', 'ftp', 'own', 'setData', 'setBlob'];
  for (const id of ids) await screen.clickElement(layout, id);
  await endsWithOpened(user, screen, desktop, layout, maxWindows, []);
  assert.equal(user.root.reported('script').length, 1, 'the click came through');
  assert.deepEqual(user.root.requests('/api/kader'), [], 'nor does an embedded one');
});

test('a new window of the same server becomes a download, of another site opens outside', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const open = (url) => `onclick="report('venster', { none: window.open('${url}') === null })"`;
    const layout = await user.startWithPage(`${beaconLink}
      <a id="own" target="_blank" href="/gewoon">eigen</a>
      <a id="other" target="_blank" href="https://elders.test/doel">ander</a>
      <a id="named" target="naam" href="https://elders.test/naam">met naam</a>
      <a id="mail" target="_blank" href="mailto:iemand@elders.test">post</a>
      <button id="openOwn" ${open('/geopend')}>eigen</button>
      <button id="openOther" ${open('https://elders.test/geopend')}>ander</button>
      <button id="openEmpty" ${open('')}>leeg</button>`, {
      routes: {
        '/gewoon': { page: 'gewone bladzijde' },
        '/geopend': { headers: { 'content-type': 'text/plain' }, body: 'geopend' },
      },
    });
    const maxWindows = screen.watchWindowCount();
    const ids = ['own', 'other', 'named', 'mail', 'openOwn', 'openOther', 'openEmpty'];
    for (const id of ids) await screen.clickElement(layout, id);
    assert.match(await desktop.awaitFile('gewoon.html'), /gewone bladzijde/);
    assert.equal(await desktop.awaitFile('geopend.txt'), 'geopend');
    await endsWithOpened(user, screen, desktop, layout, maxWindows, [
      'https://elders.test/doel', 'https://elders.test/geopend', 'https://elders.test/naam',
      `${desktop.downloads}/geopend.txt`, `${desktop.downloads}/gewoon.html`,
      'mailto:iemand@elders.test',
    ]);
    for (const url of ['/gewoon', '/geopend']) assert.equal(user.root.requests(url).length, 1);
    assert.deepEqual(user.root.reported('venster'), [{ none: true }, { none: true }, { none: true }]);
    assert.deepEqual(desktop.files(), ['geopend.txt', 'gewoon.html']);
  });

test('forms to another site, links in frames and the middle button stay under the rules', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const foreign = await OnlineServer.open();
    try {
      const layout = await user.startWithPage(`${beaconLink}
        <form method="post" action="${foreign.address}formulier">
          <input type="hidden" name="woord" value="geheim"><button id="form">verstuur</button>
        </form>
        <a id="middle" href="${foreign.address}midden">midden</a>
        <a id="middleFile" href="/api/bestand/midden">bestand</a>
        <iframe src="/kader"></iframe>`, {
        routes: {
          '/kader': { page: `<a id="inside" href="${foreign.address}binnen">binnen</a>
            <a id="out" target="_top" href="${foreign.address}boven">boven</a>` },
          '/api/bestand/midden': { headers: { 'content-type': 'text/plain' }, body: 'midden' },
        },
      });
      const maxWindows = screen.watchWindowCount();
      const clicks = [['form'], ['inside'], ['out'], ['middle', { button: 2 }]];
      const urls = ['formulier', 'binnen', 'boven', 'midden'].map((path) => foreign.address + path);
      for (const [index, click] of clicks.entries()) {
        await screen.clickElement(layout, ...click);
        await desktop.awaitOpened(urls[index]);
      }
      await screen.clickElement(layout, 'middleFile', { button: 2 });
      assert.equal(await desktop.awaitFile('midden.txt'), 'midden');
      await screen.clickElement(layout, 'baken');
      await desktop.awaitOpened(beacon);
      assert.equal(user.root.requests('/').length, 1, 'the page stays');
      assert.equal(user.root.requests('/kader').length, 1, 'and its frame');
      await user.quit();
      const file = `${desktop.downloads}/midden.txt`;
      assert.deepEqual(await desktop.openedAfterExit(), [beacon, ...urls, file].sort());
      assert.deepEqual(foreign.requests, [], 'the words of the form go nowhere');
      assert.equal(await maxWindows(), 1);
    } finally {
      foreign.close();
    }
  });
