// Links, forms, frames and new windows: URLs of other sites open in their default application,
// and the application never gets a second window.

import assert from 'node:assert/strict';

import { Desktop, barrierLink, barrierUrl } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { button, link } from '../support/desktop/page.mjs';
import { withSessionBus } from '../support/desktop/bus.mjs';
import { waitFor } from '../support/desktop/wait.mjs';

const { test } = desktopTests();

/// The X11 number of the button.
const middleButton = 2;

test('web, mail and telephone links open unchanged in their default application',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const links = {
      http: 'http://elsewhere.test/path?query=a%20b&c=%C3%A9#part',
      https: 'https://elsewhere.test:8443/%7Ewho/',
      mailto: 'mailto:someone@elsewhere.test?subject=A%20question',
      tel: 'tel:+31-20-1234567',
      // Another port of this machine is another site.
      noPath: 'http://127.0.0.1:4768',
    };
    const layout = await user.startWithPage(barrierLink +
      Object.entries(links).map(([id, url]) => link(id, url)).join(''));
    // WebKit adds the path "/" to a URL without one.
    const opened = { ...links, noPath: `${links.noPath}/` };
    for (const [id, url] of Object.entries(opened)) {
      await screen.clickElement(layout, id);
      await desktop.awaitOpened(url);
    }
    // Once the barrier link is opened, the application has handled all earlier clicks.
    await desktop.clickBarrierLink(layout);
    await desktop.quitAndAssertOpened(barrierUrl, ...Object.values(opened));
  });

test('while a default application does not respond, another one opens', async (user, screen) => {
  const desktop = new Desktop(user);
  desktop.setDBusActivatedDefault('tel', 'nl.orvel.unresponsive');
  await withSessionBus(async (environment, bus) => {
    const layout = await user.startWithPage(
      link('tel', 'tel:112') + link('web', 'https://elsewhere.test/'), {}, { environment });
    // The D-Bus activation gets no reply while the bus is suspended.
    process.kill(bus.pid, 'SIGSTOP');
    await screen.clickElement(layout, 'tel');
    await screen.clickElement(layout, 'web');
    await desktop.awaitOpened('https://elsewhere.test/');
    assert.deepEqual(desktop.opened(), ['https://elsewhere.test/']);
    process.kill(bus.pid, 'SIGCONT');
    await user.quit();
  });
});

test('a default application gets the environment of the session', async (user, screen) => {
  const desktop = new Desktop(user);
  // Variables that the application sets for itself must not be passed on, unless the user has set
  // them.
  const environments = [
    {},
    { GSK_RENDERER: 'cairo', WEBKIT_DISABLE_DMABUF_RENDERER: '1', USER_VARIABLE: 'kept' },
  ];
  for (const [index, environment] of environments.entries()) {
    const layout = await user.startWithPage(link('link', 'https://elsewhere.test/'), {},
      { environment });
    await screen.clickElement(layout, 'link');
    const launch = await waitFor('a start of the default application', () =>
      desktop.launches()[index]);
    assert.equal(launch.argumentCount, 1);
    assert.deepEqual(launch.environment, { ...user.environment, ...environment });
    await user.quit();
  }
});

test('a new window downloads a page of the server; another URL opens its default application',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const opener = (id, url) =>
      button(id, `report('window', { isNull: window.open('${url}') === null })`);
    const elsewhere = (path) => `https://elsewhere.test/${path}`;
    const newWindow = 'target="_blank"';
    const layout = await user.startWithPage(`${barrierLink}
      ${link('own', '/page', newWindow)}${link('other', elsewhere('blank'), newWindow)}
      ${link('named', elsewhere('named'), 'target="name"')}
      ${link('mail', 'mailto:someone@elsewhere.test', newWindow)}
      ${opener('openOwn', '/opened')}${opener('openOther', elsewhere('opened'))}
      ${opener('openEmpty', '')}`, {
      '/page': { page: 'an ordinary page' },
      '/opened': { headers: { 'content-type': 'text/plain' }, body: 'opened' },
    });
    for (const id of ['own', 'other', 'named', 'mail', 'openOwn', 'openOther', 'openEmpty']) {
      await screen.clickElement(layout, id);
    }
    assert.match(await desktop.awaitOpenedFile('page.html'), /an ordinary page/);
    assert.equal(await desktop.awaitOpenedFile('opened.txt'), 'opened');
    await desktop.clickBarrierLink(layout);
    await desktop.quitAndAssertOpened(barrierUrl, elsewhere('blank'), elsewhere('opened'),
      elsewhere('named'), 'mailto:someone@elsewhere.test', 'opened.txt', 'page.html');
    for (const url of ['/page', '/opened']) {
      assert.equal(user.localServer.requestsTo(url).length, 1);
    }
    assert.deepEqual(user.localServer.reported('window'), Array(3).fill({ isNull: true }));
    assert.deepEqual(desktop.downloadedFiles(), ['opened.txt', 'page.html']);
  });

test('forms, links in frames and middle clicks to another site open the default application',
  async (user, screen) => {
    const desktop = new Desktop(user);
    const foreign = await user.openOnlineServer();
    const { address } = foreign;
    const layout = await user.startWithPage(`${barrierLink}
      <form method="post" action="${address}form">
        <input type="hidden" name="word" value="secret"><button id="form">send</button>
      </form>
      ${link('middle', `${address}middle`)}${link('middleFile', '/api/bestand/middle')}
      <iframe src="/frame"></iframe>`, {
      '/frame': {
        page: link('inside', `${address}inside`) + link('top', `${address}top`, 'target="_top"'),
      },
      '/api/bestand/middle': { headers: { 'content-type': 'text/plain' }, body: 'middle' },
    });
    const urls = [];
    const middleClick = { button: middleButton };
    for (const [id, options] of [['form'], ['inside'], ['top'], ['middle', middleClick]]) {
      urls.push(address + id);
      await screen.clickElement(layout, id, options);
      await desktop.awaitOpened(address + id);
    }
    await screen.clickElement(layout, 'middleFile', middleClick);
    assert.equal(await desktop.awaitOpenedFile('middle.txt'), 'middle');
    await desktop.clickBarrierLink(layout);
    await desktop.quitAndAssertOpened(barrierUrl, ...urls, 'middle.txt');
    assert.equal(user.localServer.requestsTo('/frame').length, 1, 'the frame was requested once');
    assert.deepEqual(foreign.requests, [], 'the data of the form are not sent');
  });
