// A page that tries to leave the application, to block it or to overload it.

import assert from 'node:assert/strict';
import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop, beacon, beaconLink } from '../support/desktop/default_apps.mjs';
import { KEY } from '../support/desktop/user.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { isLong, scenarioTests } from './harness/scenario.mjs';

const test = scenarioTests();

const count = isLong ? 10_000 : 100;
// Each program that is started forks the application.
const whileStartingPrograms = { maxGrowth: 40 };
const csv = { headers: { 'content-type': 'text/csv' }, body: 'one;two\n' };

/// Replaces the desktop's default application by a shell script, because thousands of Node
/// processes would load the machine. Returns a function that lists what was opened.
function useCheapOpener({ user }) {
  const list = join(user.folder, 'opened');
  writeFileSync(join(user.folder, 'opener'), `#!/bin/sh\necho "$1" >> "${list}"\n`,
    { mode: 0o755 });
  return () => existsSync(list) ? readFileSync(list, 'utf8').split('\n').slice(0, -1) : [];
}

test('navigations to other schemes by script, link and frame', async (scenario) => {
  const { user, screen, root } = scenario;
  const desktop = new Desktop(user);
  const urls = ['file:///etc/passwd', 'javascript:report(`ran`)//', 'data:text/html,gone',
    'ftp://elsewhere.test/x', 'webkit://gpu', 'resource:///org/gtk', 'x-unknown:y'];
  const layout = await scenario.startWithPage(`
    ${beaconLink}
    <script>
      const byScript = (url) => {
        if (!url.startsWith('javascript:')) location = url;
      };
      const byLink = (href) => {
        const link = Object.assign(document.createElement('a'), { href });
        document.body.append(link);
        link.click();
      };
      const byFrame = (url) => {
        const src = url.replace('report', 'parent.report');
        document.body.append(Object.assign(document.createElement('iframe'), { src }));
      };
      const urls = ${JSON.stringify(urls)};
      const steps = [byScript, byLink, byFrame]
        .flatMap((navigate) => urls.map((url) => () => navigate(url)));
      const next = () => {
        const step = steps.shift();
        if (!step) return report('done');
        try { step(); } catch {}
        setTimeout(next, 50);
      };
      addEventListener('load', () => setTimeout(next, 200));
    </script>`);
  await scenario.monitored(() => root.awaitReport('done'));
  assert.equal(scenario.paints(), 1, 'the page stays');
  await desktop.openBeacon(screen, layout);
  assert.deepEqual(desktop.opened(), [beacon]);
});

test('a script reads the key from the user agent and the cookies', async (scenario) => {
  await scenario.startWithPage(`<script>
    report('script', { agent: navigator.userAgent, cookies: document.cookie.split('; ') });
  </script>`);
  const { agent, cookies } = await scenario.root.awaitReport('script');
  assert.ok(agent.endsWith(` ORVELOS/${KEY}`), agent);
  assert.ok(cookies.includes(`orvelapp=${KEY}`), String(cookies));
});

for (const call of ['alert', 'confirm']) {
  test(`${call} in an endless loop`, async (scenario) => {
    const { screen } = scenario;
    await scenario.startWithPage(`<script>
      addEventListener('load', () => setTimeout(() => {
        for (let number = 0; ; number += 1) ${call}('panel ' + number);
      }, 300));
    </script>`);
    await scenario.monitored(async () => {
      for (let number = 0; number < 5; number += 1) {
        await screen.awaitPanel(`panel ${number}`);
        await screen.pressKeys('Return');
        await screen.awaitPanelClosed(`panel ${number}`);
      }
      await screen.awaitPanel('panel 5');
    });
    await scenario.terminate();
  });
}

/// Starts the application with a page that runs an action for each `number`, with or without
/// a click, and waits until as many files or URLs have been opened.
async function openMany(scenario, action, { click = true, routes = {} } = {}) {
  const { screen } = scenario;
  const opened = useCheapOpener(scenario);
  const layout = await scenario.startWithPage(`<button id="button">run</button><script>
    const run = () => {
      for (let number = 0; number < ${count}; number += 1) { ${action} }
    };
    if (${click}) button.onclick = run;
    else addEventListener('load', () => setTimeout(run, 300));
  </script>`, { routes });
  const maxWindows = screen.watchWindowCount();
  await scenario.monitored(async () => {
    if (click) await screen.clickElement(layout, 'button');
    await waitFor(`${count} opened`, () => opened().length >= count,
      { timeout: count * 100 + 20_000 });
  }, whileStartingPrograms);
  assert.equal(await maxWindows(), 1, 'no window was opened');
  assert.equal(scenario.paints(), 1, 'the page stays');
  await scenario.terminate();
  assert.equal(new Set(opened()).size, count);
}

for (const click of [true, false]) {
  test(`${count} windows for web and other URLs ${click ? 'after' : 'without'} a click`,
    { timeout: 1_200_000 }, async (scenario) => {
      new Desktop(scenario.user);
      // A navigation or link to an sms: URL would be ignored.
      await openMany(scenario,
        "open((number % 2 === 0 ? 'https://elsewhere.test/' : 'sms:') + number);", { click });
    });
}

test(`${count} links to the export`, { timeout: 1_200_000 }, async (scenario) => {
  const desktop = new Desktop(scenario.user);
  await openMany(scenario, `
    const link = document.createElement('a');
    link.href = '/api/export?' + number;
    document.body.append(link);
    link.click();`, { routes: { '/api/export': csv } });
  assert.equal(desktop.files().length, count);
  for (const name of desktop.files()) {
    assert.equal(readFileSync(desktop.path(name), 'utf8'), csv.body);
  }
});
