// Where links, forms, frames and new windows lead: outside, or nowhere, but
// never to a second window.

import assert from 'node:assert/strict';

import { Desktop } from '../support/desktop/desktop.mjs';
import { OnlineServer } from '../support/desktop/online_server.mjs';
import { onSessionBus } from '../support/desktop/session_bus.mjs';
import { trialsOn } from '../support/desktop/trial.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { trial, keep } = trialsOn();

const beacon = 'https://baken.test/';
const beaconLink = `<a id="baken" href="${beacon}">baken</a>`;

/// Ends a trial in which the page stayed: whatever was clicked before the
/// beacon has been decided once the beacon was opened. Exactly `urls` were
/// opened, by a single window.
async function endsWithOpened(user, screen, desktop, told, mostWindows, urls) {
  await screen.clickElement(told, 'baken');
  await desktop.awaitOpened(beacon);
  assert.equal(user.root.told('getoond').length, 1, 'the page stays');
  assert.equal(user.root.requests('/').length, 1, 'nor is it asked again');
  await user.quit();
  assert.deepEqual(await desktop.openedInTheEnd(), [beacon, ...urls].sort());
  assert.equal(await mostWindows(), 1, 'a second window was seen');
}

trial('links to other sites, mail and telephone open as they stand, and the page stays', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const links = {
      http: 'http://elders.test/pad?vraag=a%20b&c=%C3%A9#stuk',
      https: 'https://elders.test:8443/%7Ewie/',
      mailto: 'mailto:iemand@elders.test?subject=Een%20vraag',
      tel: 'tel:+31-20-1234567',
      noSlash: 'http://127.0.0.1:4768',
    };
    const told = await user.startWithPage(beaconLink + Object.entries(links)
      .map(([id, url]) => `<a id="${id}" href="${url}">${id}</a>`).join(''));
    const most = screen.watchWindows();
    for (const [id, url] of Object.entries(links)) {
      await screen.clickElement(told, id);
      await desktop.awaitOpened(id === 'noSlash' ? `${url}/` : url);
    }
    await keep('links');
    const opened = [...Object.values(links).slice(0, -1), `${links.noSlash}/`];
    await endsWithOpened(user, screen, desktop, told, most, opened);
  });

trial('a default application that does not answer holds no other one up', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    desktop.chooseByBus('tel', 'nl.orvel.doof');
    await onSessionBus(async (environment, bus) => {
      const told = await user.startWithPage(
        '<a id="tel" href="tel:112">112</a><a id="web" href="https://elders.test/">web</a>',
        {}, { environment });
      // Whom the bus is to call never answers now.
      process.kill(bus.pid, 'SIGSTOP');
      try {
        await screen.clickElement(told, 'tel');
        await screen.clickElement(told, 'web');
        await desktop.awaitOpened('https://elders.test/');
        assert.deepEqual(desktop.opened(), ['https://elders.test/']);
      } finally {
        process.kill(bus.pid, 'SIGCONT');
      }
      await user.quit();
    });
  });

trial('a default application starts in the surroundings of the session', {},
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
      const told = await user.startWithPage(page, {}, { environment });
      await screen.clickElement(told, 'link');
      const start = await waitFor('an opened link', () => desktop.starts()[index]);
      assert.equal(start.count, 1);
      assert.deepEqual(start.environment, { ...user.environment, ...environment });
      await user.quit();
    }
  });

trial('an embedded page of another site opens outside and is not loaded', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const foreign = await OnlineServer.open();
    try {
      const most = screen.watchWindows();
      const told = await user.startWithPage(
        `${beaconLink}<iframe src="${foreign.address}ingebed"></iframe>`);
      await desktop.awaitOpened(`${foreign.address}ingebed`);
      await endsWithOpened(user, screen, desktop, told, most, [`${foreign.address}ingebed`]);
      assert.deepEqual(foreign.requests, []);
    } finally {
      foreign.close();
    }
  });

trial('addresses of any other kind lead nowhere', {}, async (user, screen) => {
  const desktop = new Desktop(user);
  const told = await user.startWithPage(`${beaconLink}
    <a id="data" href="data:text/html,weg">data</a>
    <a id="blob" href="#">blob</a>
    <a id="nothing" href="javascript:void tell('script')">javascript</a>
    <a id="file" href="file:///etc/passwd">file</a>
    <a id="ftp" href="ftp://elders.test/">ftp</a>
    <a id="own" href="orvel:iets">eigen</a>
    <button id="setData" onclick="location = 'data:text/html,weg'">data</button>
    <button id="setBlob" onclick="location = blob.href">blob</button>
    <iframe src="data:text/html,<script>fetch('http://127.0.0.1:4767/api/kader')</script>"></iframe>
    <script>blob.href = URL.createObjectURL(new Blob(['weg'], { type: 'text/html' }))</script>`);
  const most = screen.watchWindows();
  const ids = ['data', 'blob', 'nothing', 'file', 'ftp', 'own', 'setData', 'setBlob'];
  for (const id of ids) await screen.clickElement(told, id);
  await endsWithOpened(user, screen, desktop, told, most, []);
  assert.equal(user.root.told('script').length, 1, 'the click came through');
  assert.deepEqual(user.root.requests('/api/kader'), [], 'nor does an embedded one');
});

trial('a new window of the same server becomes a download, of another site opens outside', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const open = (url) => `onclick="tell('venster', { none: window.open('${url}') === null })"`;
    const told = await user.startWithPage(`${beaconLink}
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
    const most = screen.watchWindows();
    const ids = ['own', 'other', 'named', 'mail', 'openOwn', 'openOther', 'openEmpty'];
    for (const id of ids) await screen.clickElement(told, id);
    assert.match(await desktop.awaitFile('gewoon.html'), /gewone bladzijde/);
    assert.equal(await desktop.awaitFile('geopend.txt'), 'geopend');
    await endsWithOpened(user, screen, desktop, told, most, [
      'https://elders.test/doel', 'https://elders.test/geopend', 'https://elders.test/naam',
      `${desktop.downloads}/geopend.txt`, `${desktop.downloads}/gewoon.html`,
      'mailto:iemand@elders.test',
    ]);
    for (const url of ['/gewoon', '/geopend']) assert.equal(user.root.requests(url).length, 1);
    assert.deepEqual(user.root.told('venster'), [{ none: true }, { none: true }, { none: true }]);
    assert.deepEqual(desktop.files(), ['geopend.txt', 'gewoon.html']);
  });

trial('forms to another site, links in frames and the middle button stay under the rules', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const foreign = await OnlineServer.open();
    try {
      const told = await user.startWithPage(`${beaconLink}
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
      const most = screen.watchWindows();
      const clicks = [['form'], ['inside'], ['out'], ['middle', { button: 2 }]];
      const urls = ['formulier', 'binnen', 'boven', 'midden'].map((path) => foreign.address + path);
      for (const [index, click] of clicks.entries()) {
        await screen.clickElement(told, ...click);
        await desktop.awaitOpened(urls[index]);
      }
      await screen.clickElement(told, 'middleFile', { button: 2 });
      assert.equal(await desktop.awaitFile('midden.txt'), 'midden');
      await screen.clickElement(told, 'baken');
      await desktop.awaitOpened(beacon);
      assert.equal(user.root.requests('/').length, 1, 'the page stays');
      assert.equal(user.root.requests('/kader').length, 1, 'and its frame');
      await user.quit();
      const file = `${desktop.downloads}/midden.txt`;
      assert.deepEqual(await desktop.openedInTheEnd(), [beacon, ...urls, file].sort());
      assert.deepEqual(foreign.requests, [], 'the words of the form go nowhere');
      assert.equal(await most(), 1);
    } finally {
      foreign.close();
    }
  });
