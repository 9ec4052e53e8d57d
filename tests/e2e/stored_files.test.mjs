// Stored files (/api/bestand/). A navigation of the page to one is a download. A frame shows the
// file.

import assert from 'node:assert/strict';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button, link } from '../support/desktop/page.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';
import { APP_KEY } from '../support/desktop/user.mjs';

const { test } = desktopTests({ accessibility: true });

/// Returns the path of a stored file.
const stored = (name) => `/api/bestand/${name}`;

/// Fails unless there is one request, sent by the application itself with its key. The web engine
/// would send Upgrade-Insecure-Requests.
function assertSentByApplication(requests) {
  assert.equal(requests.length, 1, JSON.stringify(requests));
  const [{ method, headers }] = requests;
  assert.equal(method, 'GET');
  assert.equal(headers['x-orvel-app'], APP_KEY);
  assert.equal(headers['upgrade-insecure-requests'], undefined);
}

test('any navigation of the page to a stored file downloads it once', async (user) => {
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
  const linksInFrame = {
    topPage: link('topPage', stored('topPage'), 'target="_top"'),
    newWindow: link('newWindow', stored('newWindow'), 'target="_blank"'),
  };
  const names = Object.keys({ ...navigations, ...linksInFrame });
  const page = `${Object.values(navigations).join('')}<iframe src="/frame"></iframe>`;
  const layout = await user.startWithPage(page, {
    '/frame': { page: Object.values(linksInFrame).join('') },
    ...Object.fromEntries(names.map((name) => [stored(name), csvRoute(`content of ${name}`)])),
    '/api/%62estand/encoded': csvRoute('content of encoded'),
    '/redirect': { status: 302, headers: { location: stored('redirect') } },
  });
  for (const name of names) {
    const text = await desktop.clickAndAwaitFile(layout, name, `${name}.csv`);
    assert.equal(text, `content of ${name}`);
    // All requests for the file, with any method, percent-encoding and query.
    assertSentByApplication(user.localServer.requests.filter(({ url }) =>
      decodeURIComponent(url.split('?')[0]) === stored(name)));
  }
  const files = names.map((name) => `${name}.csv`).sort();
  assert.deepEqual(desktop.downloadedFiles(), files);
  await desktop.quitAndAssertOpened(...files);
});

test('files of a newly chosen server are downloaded from its page and shown in a frame',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const online = await user.openOnlineServer({
      routes: {
        '/': { page: `${link('file', stored('1'))}<iframe src="${stored('frame')}"></iframe>` },
        [stored('1')]: csvRoute('content of 1'),
        [stored('frame')]: { page: '<script>report("frame")</script>' },
      },
    });
    await user.startAndShowPage();
    await screen.answerAddressDialog(online.address);
    const layout = await online.awaitPainted();
    await online.awaitReport('frame');
    const frameRequests = online.requestsTo(stored('frame'));
    assert.deepEqual(frameRequests.map(({ headers }) => headers['x-orvel-app']), [undefined],
      'the web engine sends one request, without the key');
    assert.equal(await desktop.clickAndAwaitFile(layout, 'file', '1.csv'), 'content of 1');
    const requests = online.requestsTo(stored('1'));
    assertSentByApplication(requests);
    // For an online server the cookie orvelapp is Secure. The web engine does not send it over
    // http, but the application adds it to the download requests that it sends itself.
    assert.match(requests[0].headers.cookie, new RegExp(`orvelapp=${APP_KEY}`));
    assert.doesNotMatch(online.requestsTo('/')[0].headers.cookie ?? '', /orvelapp/);
    assert.equal(online.paintCount(), 1, 'the page was painted once');
    await user.quit();
    await user.awaitProcessesEnded();
    assert.deepEqual(desktop.opened(), ['1.csv']);
  });
