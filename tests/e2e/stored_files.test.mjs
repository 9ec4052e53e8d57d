// Stored files (/api/bestand/). A navigation of the page to one is a download. A frame shows the
// file.

import assert from 'node:assert/strict';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button, link } from '../support/desktop/page.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests({ accessibility: true });

/// Returns the path of a stored file.
const stored = (name) => `/api/bestand/${name}`;
/// Returns a route to a CSV file with the text that assertFileTexts() expects.
const csvRoute = (name) => ({
  headers: { 'content-type': 'text/csv' }, body: `content of ${name}.csv`,
});
const csvRoutes = (names) =>
  Object.fromEntries(names.map((name) => [stored(name), csvRoute(name)]));

/// Returns all requests for a path, with any method, percent-encoding and query.
function requestsFor(user, path) {
  return user.root.events('request').filter(({ url }) =>
    decodeURIComponent(url.split('?')[0]) === path);
}

/// Fails unless there is one request, sent by the application itself with its key. The web engine
/// would send Upgrade-Insecure-Requests.
function assertSentByApplication(requests) {
  assert.equal(requests.length, 1, JSON.stringify(requests));
  const [{ method, headers }] = requests;
  assert.equal(method, 'GET');
  assert.equal(headers['x-orvel-app'], APP_KEY);
  assert.equal(headers['upgrade-insecure-requests'], undefined);
}

/// Fails unless there is one request, sent by the web engine without the key.
function assertSentByPage(requests) {
  assert.equal(requests.length, 1, JSON.stringify(requests));
  assert.equal(requests[0].headers['x-orvel-app'], undefined);
}

/// Waits until these files have been opened, and fails unless they have the expected texts.
async function assertFileTexts(desktop, names) {
  for (const name of names) {
    assert.equal(await desktop.awaitOpenedFile(`${name}.csv`), `content of ${name}.csv`);
  }
}

/// Quits, and fails unless exactly these files were downloaded and opened.
async function quitAndAssertFiles(desktop, names) {
  await assertFileTexts(desktop, names);
  const files = names.map((name) => `${name}.csv`).sort();
  assert.deepEqual(desktop.downloadedFiles(), files);
  await desktop.quitAndAssertOpened(...files.map((file) => desktop.downloadPath(file)));
}

test('any navigation of the page to a stored file downloads it once', async (user, screen) => {
  const desktop = new Desktop(user);
  const navigations = {
    link: link('link', stored('link')),
    fragment: link('fragment', `${stored('fragment')}#part`),
    blank: link('blank', stored('blank'), 'target="_blank"'),
    open: button('open', `window.open('${stored('open')}')`),
    script: button('script', `location = '${stored('script')}'`),
    form: `<form action="${stored('form')}"><button id="form">form</button></form>`,
    post: `<form method="post" action="${stored('post')}"><button id="post">post</button></form>`,
    redirect: link('redirect', '/redirect'),
    // %62 is "b".
    encoded: link('encoded', '/api/%62estand/encoded'),
  };
  const names = Object.keys(navigations);
  const layout = await user.startWithPage(Object.values(navigations).join(''), {
    routes: {
      ...csvRoutes(names),
      '/api/%62estand/encoded': csvRoute('encoded'),
      '/redirect': { status: 302, headers: { location: stored('redirect') } },
    },
  });
  for (const name of names) {
    await screen.clickElement(layout, name);
    await desktop.awaitOpenedFile(`${name}.csv`);
  }
  for (const name of names) assertSentByApplication(requestsFor(user, stored(name)));
  await quitAndAssertFiles(desktop, names);
});

test('clicks on several files at once download all of them', async (user, screen) => {
  const desktop = new Desktop(user);
  const names = ['one', 'two', 'three'];
  const layout = await user.startWithPage(names.map((name) => link(name, stored(name))).join('') +
    button('all', "document.querySelectorAll('a').forEach((each) => each.click())"),
  { routes: csvRoutes(names) });
  await screen.clickElement(layout, 'all');
  await assertFileTexts(desktop, names);
  for (const name of names) assertSentByApplication(requestsFor(user, stored(name)));
  await quitAndAssertFiles(desktop, names);
});

test('any navigation of a frame to a stored file shows it in the frame',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const reportingRoute = (name) => ({ page: `<script>report('frame', '${name}')</script>` });
    const clicked = ['inside', 'target', 'form', 'script'];
    const names = ['initial', 'redirected', ...clicked];
    const layout = await user.startWithPage(`
      <iframe src="${stored('initial')}"></iframe>
      <iframe style="top: 240px" src="/redirect"></iframe>
      <iframe style="top: 460px" src="/frame" name="frame"></iframe>
      ${link('target', stored('target'), 'target="frame"')}
      <form target="frame" action="${stored('form')}"><button id="form">form</button></form>
      ${button('script', `frames.frame.location = '${stored('script')}'`)}`, {
      routes: {
        '/redirect': { status: 302, headers: { location: stored('redirected') } },
        '/frame': { page: link('inside', stored('inside')) },
        ...Object.fromEntries(names.map((name) => [stored(name), reportingRoute(name)])),
      },
    });
    const assertShown = async (expected) => {
      await user.root.awaitReport('frame', expected.length);
      assert.deepEqual(user.root.reported('frame').sort(), [...expected].sort());
    };
    await assertShown(names.slice(0, 2));
    for (const [index, id] of clicked.entries()) {
      await screen.clickElement(layout, id);
      await assertShown(names.slice(0, index + 3));
    }
    for (const name of names) assertSentByPage(requestsFor(user, stored(name)));
    await quitAndAssertFiles(desktop, []);
  });

test('links in a frame to the top page, to a new window and to an export are downloaded',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const urls = {
      top: stored('top'),
      blank: stored('blank'),
      export: '/api/export?for=frame',
    };
    const layout = await user.startWithPage('<iframe src="/frame"></iframe>', {
      routes: {
        '/frame': {
          page: link('top', urls.top, 'target="_top"') +
            link('blank', urls.blank, 'target="_blank"') + link('export', urls.export),
        },
        ...csvRoutes(['top', 'blank']),
        '/api/export': csvRoute('export'),
      },
    });
    for (const id of Object.keys(urls)) {
      await screen.clickElement(layout, id);
      await desktop.awaitOpenedFile(`${id}.csv`);
    }
    for (const url of Object.values(urls)) assertSentByApplication(user.root.requestsTo(url));
    await quitAndAssertFiles(desktop, Object.keys(urls));
  });

test('stored files of a newly chosen server follow the same rules', async (user, screen) => {
  const desktop = new Desktop(user);
  const online = await user.openOnlineServer({
    routes: {
      '/': { page: `${link('file', stored('1'))}<iframe src="${stored('frame')}"></iframe>` },
      [stored('1')]: csvRoute('1'),
      [stored('frame')]: { page: '<script>report("frame")</script>' },
    },
  });
  await user.startAndShowPage();
  await screen.answerAddressDialog(online.address);
  const layout = await online.awaitPainted();
  await waitFor('the file in the frame', () => online.reported('frame').length === 1);
  assertSentByPage(online.requestsTo(stored('frame')));
  await screen.clickElement(layout, 'file');
  await assertFileTexts(desktop, ['1']);
  const requests = online.requestsTo(stored('1'));
  assertSentByApplication(requests);
  // The application sends the https-only cookie itself; the web engine does not send it over http.
  assert.match(requests[0].headers.cookie, new RegExp(`orvelapp=${APP_KEY}`));
  assert.doesNotMatch(online.requestsTo('/')[0].headers.cookie ?? '', /orvelapp/);
  assert.equal(online.paintCount(), 1, 'the page stays');
  await user.quit();
  await user.awaitProcessesEnded();
  assert.deepEqual(desktop.opened(), [desktop.downloadPath('1.csv')]);
});
