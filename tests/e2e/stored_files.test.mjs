// Stored files: a download where the page itself would go there, a part of the
// page inside a frame.

import assert from 'node:assert/strict';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { OnlineServer } from '../support/desktop/online_server.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

const csv = (body) => ({ headers: { 'content-type': 'text/csv' }, body });

/// All requests for a path, of whatever method, spelling and query.
function requestsFor(user, path) {
  return user.root.events('request').filter(({ url }) =>
    decodeURIComponent(url.split('?')[0]) === path);
}

/// Fails unless the one request for a file came from the application itself:
/// with its key, and without what a web page's request carries.
function assertOnlyKeyed(requests) {
  assert.equal(requests.length, 1, JSON.stringify(requests));
  const [{ method, headers }] = requests;
  assert.equal(method, 'GET');
  assert.equal(headers['x-orvel-app'], KEY);
  assert.equal(headers['upgrade-insecure-requests'], undefined);
}

/// Fails unless all requests for a file came from the page.
function assertFromPage(requests) {
  assert.equal(requests.length, 1, JSON.stringify(requests));
  assert.equal(requests[0].headers['x-orvel-app'], undefined);
}

/// The end of a test in which these files were downloaded and nothing else
/// happened.
async function endsWithFiles(user, screen, desktop, maxWindows, names) {
  for (const name of names) assert.equal(await desktop.awaitFile(name), `inhoud van ${name}`);
  assert.deepEqual(desktop.files(), [...names].sort());
  assert.equal(user.root.reported('painted').length, 1, 'the page stays');
  assert.equal(user.root.requests('/').length, 1);
  await user.quit();
  const paths = names.map((name) => `${desktop.downloads}/${name}`);
  assert.deepEqual(await desktop.openedAfterExit(), paths.sort());
  assert.equal(await maxWindows(), 1, 'a second window was seen');
}

test('a stored file is downloaded on every way that leads the page itself to it', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const ways = {
      link: '<a id="link" href="/api/bestand/link">link</a>',
      part: '<a id="part" href="/api/bestand/part#stuk">deel</a>',
      blank: '<a id="blank" target="_blank" href="/api/bestand/blank">venster</a>',
      open: '<button id="open" onclick="window.open(\'/api/bestand/open\')">open</button>',
      script: '<button id="script" onclick="location = \'/api/bestand/script\'">script</button>',
      form: '<form action="/api/bestand/form"><button id="form">formulier</button></form>',
      post: '<form method="post" action="/api/bestand/post"><button id="post">post</button></form>',
      redirect: '<a id="redirect" href="/doorsturen">doorgestuurd</a>',
      encoded: '<a id="encoded" href="/api/%62estand/encoded">gecodeerd</a>',
    };
    const files = Object.fromEntries(Object.keys(ways).map((id) =>
      [`/api/bestand/${id}`, csv(`inhoud van ${id}.csv`)]));
    const layout = await user.startWithPage(Object.values(ways).join(''), {
      routes: {
        ...files,
        '/api/%62estand/encoded': files['/api/bestand/encoded'],
        '/doorsturen': { status: 302, headers: { location: '/api/bestand/redirect' } },
      },
    });
    const maxWindows = screen.watchWindowCount();
    for (const id of Object.keys(ways)) {
      await screen.clickElement(layout, id);
      await desktop.awaitFile(`${id}.csv`);
    }
    for (const path of Object.keys(files)) {
      assertOnlyKeyed(requestsFor(user, path));
    }
    await endsWithFiles(user, screen, desktop, maxWindows, Object.keys(ways).map((id) => `${id}.csv`));
  });

test('every file of a page that fetches them all at once is downloaded', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const names = ['een', 'twee', 'drie'];
    const layout = await user.startWithPage(`
      ${names.map((name) => `<a class="file" href="/api/bestand/${name}">${name}</a>`).join('')}
      <button id="all" onclick="document.querySelectorAll('.file').forEach(
        (link) => link.click())">alle</button>`, {
      routes: Object.fromEntries(names.map((name) =>
        [`/api/bestand/${name}`, csv(`inhoud van ${name}.csv`)])),
    });
    const maxWindows = screen.watchWindowCount();
    await screen.clickElement(layout, 'all');
    for (const name of names) {
      await desktop.awaitFile(`${name}.csv`);
      assertOnlyKeyed(requestsFor(user, `/api/bestand/${name}`));
    }
    await endsWithFiles(user, screen, desktop, maxWindows, names.map((name) => `${name}.csv`));
  });

test('a stored file in a frame is a part of the page, on every way into the frame', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const inFrame = (id) => ({ page: `<script>report('kader', '${id}')</script>` });
    const layout = await user.startWithPage(`
      <iframe src="/api/bestand/eerst"></iframe>
      <iframe style="top: 240px" src="/doorsturen"></iframe>
      <iframe style="top: 460px" src="/kader" name="kader"></iframe>
      <a id="target" target="kader" href="/api/bestand/doel">in het kader</a>
      <form target="kader" action="/api/bestand/formulier"><button id="form">form</button></form>
      <button id="script" onclick="frames.kader.location = '/api/bestand/script'">script</button>
      <button id="back" onclick="frames.kader.location = '/kader'">terug</button>`, {
      routes: {
        '/doorsturen': { status: 302, headers: { location: '/api/bestand/doorgestuurd' } },
        '/kader': {
          page: '<a id="inside" href="/api/bestand/binnen">binnen</a><script>report("k")</script>',
        },
        ...Object.fromEntries(['eerst', 'doorgestuurd', 'binnen', 'doel', 'formulier', 'script']
          .map((id) => [`/api/bestand/${id}`, inFrame(id)])),
      },
    });
    const maxWindows = screen.watchWindowCount();
    const seen = ['eerst', 'doorgestuurd'];
    const framesShow = async () => {
      await waitFor(`${seen.at(-1)} in a frame`, () =>
        user.root.reported('kader').length >= seen.length);
      assert.deepEqual(user.root.reported('kader').sort(), [...seen].sort());
    };
    await framesShow();
    const clicks = { inside: 'binnen', target: 'doel', form: 'formulier', script: 'script' };
    for (const [id, name] of Object.entries(clicks)) {
      await screen.clickElement(layout, id);
      seen.push(name);
      await framesShow();
    }
    for (const id of seen) {
      const path = `/api/bestand/${id}`;
      assertFromPage(requestsFor(user, path));
    }
    await endsWithFiles(user, screen, desktop, maxWindows, []);
  });

test('a link in a frame that aims at the whole page, or an export in it, is downloaded', {},
  async (user, screen) => {
    const desktop = new Desktop(user);
    const layout = await user.startWithPage('<iframe src="/kader"></iframe>', {
      routes: {
        '/kader': { page: `<a id="top" target="_top" href="/api/bestand/boven">boven</a>
          <a id="blank" target="_blank" href="/api/bestand/leeg">leeg</a>
          <a id="export" href="/api/export?wat=kader">export</a>` },
        '/api/bestand/boven': csv('inhoud van boven.csv'),
        '/api/bestand/leeg': csv('inhoud van leeg.csv'),
        '/api/export': csv('inhoud van export.csv'),
      },
    });
    const maxWindows = screen.watchWindowCount();
    for (const [id, name] of [['top', 'boven'], ['blank', 'leeg'], ['export', 'export']]) {
      await screen.clickElement(layout, id);
      await desktop.awaitFile(`${name}.csv`);
    }
    for (const url of ['/api/bestand/boven', '/api/bestand/leeg', '/api/export?wat=kader']) {
      assertOnlyKeyed(user.root.requests(url));
    }
    await endsWithFiles(user, screen, desktop, maxWindows, ['boven.csv', 'leeg.csv', 'export.csv']);
  });

test('the rule for stored files moves along with the address', {}, async (user, screen) => {
  const desktop = new Desktop(user);
  const routes = {
    '/': { page: '<a id="file" href="/api/bestand/1">bestand</a>' +
      '<iframe src="/api/bestand/kader"></iframe>' },
    '/api/bestand/1': csv('inhoud van 1.csv'),
    '/api/bestand/kader': { page: '<script>report("kader")</script>' },
  };
  const online = await OnlineServer.open({ routes });
  try {
    await user.startAndShowPage();
    await screen.answerAddressDialog(online.address);
    const layout = await online.awaitPainted();
    await waitFor('the file in the frame', () => online.reported('kader').length === 1);
    assertFromPage(online.requestsTo('/api/bestand/kader'));
    await screen.clickElement(layout, 'file');
    assert.equal(await desktop.awaitFile('1.csv'), 'inhoud van 1.csv');
    assertOnlyKeyed(online.requestsTo('/api/bestand/1'));
    // The cookie for https only goes along with the application's own request.
    assert.match(online.requestsTo('/api/bestand/1')[0].headers.cookie, new RegExp(`orvelapp=${KEY}`));
    assert.doesNotMatch(online.requestsTo('/')[0].headers.cookie ?? '', /orvelapp/);
    assert.equal(online.reported('painted').length, 1, 'the page stays');
    await user.quit();
    assert.deepEqual(await desktop.openedAfterExit(), [`${desktop.downloads}/1.csv`]);
  } finally {
    online.close();
  }
});
