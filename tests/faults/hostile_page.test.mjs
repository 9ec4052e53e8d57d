// A page that means harm. What it can reach are the rules that hold for every
// page; what it must not reach is everything else.

import assert from 'node:assert/strict';
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { kill } from '../support/desktop/processes.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { waitFor } from '../support/desktop/wait.mjs';
import { isLong } from './harness/scenarios.mjs';
import { assertClean, endedWell, underWatch } from './harness/invariants.mjs';

const { test } = desktopTests();

const many = isLong ? 10_000 : 100;
// Every program that is started takes a fork of the application.
const whileStarting = { growth: 40 };
const beacon = '<a id="baken" href="https://baken.test/">baken</a>';
const button = '<button id="knop">knop</button>';

/// Takes the place of the programs that open files and addresses: a thousand of
/// them would be a load of their own.
function cheapOpener(desktop) {
  writeFileSync(join(desktop.user.folder, 'opener'),
    `#!/bin/sh\necho "$1" >> "${join(desktop.user.folder, 'geopend')}"\n`, { mode: 0o755 });
  return () => {
    try {
      return readFileSync(join(desktop.user.folder, 'geopend'), 'utf8').split('\n').slice(0, -1);
    } catch {
      return [];
    }
  };
}

async function end(user, run) {
  kill(run.pid, 'SIGTERM');
  await endedWell(user, run);
  await assertClean(user);
}

const scripts = (list) => `<script>
  let step = 0;
  const attempts = [${list.join()}];
  const next = () => {
    if (step === attempts.length) return report('klaar');
    try { attempts[step++](); } catch {}
    setTimeout(next, 50);
  };
  addEventListener('load', () => setTimeout(next, 200));
</script>`;

test('navigations to addresses that lead out of the page', {}, async (user, screen, t) => {
  const desktop = new Desktop(user);
  const bad = ['file:///etc/passwd', 'javascript:report(`gelopen`)//', 'data:text/html,weg',
    'ftp://elders.test/x', 'webkit://gpu', 'resource:///org/gtk', 'x-onbekend:y'];
  const frames = bad.map((address) => `() => {
    const frame = document.createElement('iframe');
    frame.src = ${JSON.stringify(address.replace('report', 'parent.report'))};
    document.body.append(frame);
  }`);
  const places = bad.filter((address) => !address.startsWith('java'))
    .map((address) => `() => { location = ${JSON.stringify(address)}; }`);
  const links = bad.map((address) => `() => {
    const link = document.createElement('a');
    link.href = ${JSON.stringify(address)};
    document.body.append(link);
    link.click();
  }`);
  await user.startWithPage(beacon + scripts([...places, ...links, ...frames]));
  const [run] = user.runs;
  await underWatch(screen, run, t, {}, async () => {
    await waitFor('all attempts', () => user.root.reported('klaar').length === 1);
  });
  const paints = user.root.reported('painted');
  assert.equal(paints.length, 1, 'the page stays');
  await screen.clickElement(paints[0], 'baken');
  await desktop.awaitOpened('https://baken.test/');
  assert.deepEqual(desktop.opened(), ['https://baken.test/']);
  await end(user, run);
});

test('titles without measure', {}, async (user, screen, t) => {
  user.root.setBehaviour({ live: true });
  const run = await user.startAndShowPage();
  await underWatch(screen, run, t, { growth: 40 }, async () => {
    const change = "() => { document.title = 'lang '.repeat(2_000_000) + step; }";
    user.root.setBehaviour({ live: true, routes: { '/': { page: scripts(Array(20).fill(change)) } } });
    await screen.pressKeys('ctrl+r');
    await waitFor('all titles', () => user.root.reported('klaar').length === 1);
    assert.equal((await screen.windows()).length, 1, 'the window keeps its title');
    user.root.setBehaviour({ live: true });
    const painted = user.root.reported('painted').length;
    await screen.pressKeys('ctrl+r');
    await user.root.awaitPainted(painted + 1);
  });
  await end(user, run);
});

for (const call of ['alert', 'confirm']) {
  test(`endless dialogs: ${call}`, {}, async (user, screen, t) => {
    await user.startWithPage(`<script>
      addEventListener('load', () => setTimeout(() => {
        for (let number = 0; ; number += 1) ${call}('paneel ' + number);
      }, 300));
    </script>`);
    const [run] = user.runs;
    await underWatch(screen, run, t, {}, async () => {
      for (let number = 0; number < 5; number += 1) {
        await screen.awaitPanel(`paneel ${number}`);
        await screen.pressKeys('Return');
        await screen.awaitPanelClosed(`paneel ${number}`);
      }
      await screen.awaitPanel('paneel 5');
    });
    await end(user, run);
  });
}

/// Makes the page run an action many times, with or without a click, and waits until all
/// have been handled.
async function flood(user, screen, t, action, { route = {}, click = true } = {}) {
  const desktop = new Desktop(user);
  const opened = cheapOpener(desktop);
  const layout = await user.startWithPage(`${button}<script>
    const flood = () => {
      for (let number = 0; number < ${many}; number += 1) { ${action} }
    };
    if (${click}) knop.onclick = flood;
    else addEventListener('load', () => setTimeout(flood, 300));
  </script>`, { routes: { '/api/export': route } });
  const [run] = user.runs;
  const maxWindows = screen.watchWindowCount();
  await underWatch(screen, run, t, whileStarting, async () => {
    if (click) await screen.clickElement(layout, 'knop');
    await waitFor(`${many} of them`, () => opened().length >= many,
      { timeout: many * 100 + 20_000 });
  });
  assert.equal(await maxWindows(), 1, 'no window was seen');
  assert.equal(user.root.reported('painted').length, 1, 'the page stays');
  return { desktop, run, opened };
}

for (const click of [true, false]) {
  test(`${many} windows ${click ? 'after a click' : 'without a click'}`, { timeout: 1_200_000 },
    async (user, screen, t) => {
      const { run, opened } = await flood(user, screen, t,
        "open('https://elsewhere.test/' + number);", { click });
      assert.equal(new Set(opened()).size, many);
      await end(user, run);
    });
}

const file = { headers: { 'content-type': 'text/csv' }, body: 'een;twee\n' };

test(`${many} links to the export`, { timeout: 1_200_000 }, async (user, screen, t) => {
  const { desktop, run, opened } = await flood(user, screen, t, `
    const link = document.createElement('a');
    link.href = '/api/export?' + number;
    document.body.append(link);
    link.click();`, { route: file });
  assert.equal(desktop.files().length, many);
  assert.equal(new Set(opened()).size, many, 'each in a file of its own');
  for (const name of desktop.files()) {
    assert.equal(readFileSync(join(desktop.downloads, name), 'utf8'), file.body);
  }
  await end(user, run);
});

const names = ['../buit', '../../buit', '/tmp/buit', '..', '.', '~/buit', '.zprofile',
  'bestaat.csv',
  'a/../../../buit', '%2e%2e%2fbuit', '..\\\\..\\\\buit', 'x'.repeat(5000), 'con\u0007trole',
  'vals\u202Evsc.csv'];

test('downloads named to get out of the folder or to take the place of a file', {},
  async (user, screen, t) => {
    const desktop = new Desktop(user);
    const opened = cheapOpener(desktop);
    writeFileSync(join(desktop.downloads, 'bestaat.csv'), 'blijft');
    const before = readdirSync(user.home);
    const paths = names.map((_, at) => `/api/bestand/f${at}`);
    const page = `${button}<script>
      knop.onclick = () => { for (const path of ${JSON.stringify(paths)}) open(path); };
    </script>`;
    const routes = Object.fromEntries(names.map((name, at) => [paths[at], {
      ...file,
      headers: { ...file.headers, 'content-disposition':
        `attachment; filename*=UTF-8''${encodeURIComponent(name)}` },
    }]));
    const layout = await user.startWithPage(page, { routes });
    const [run] = user.runs;
    await underWatch(screen, run, t, whileStarting, async () => {
      await screen.clickElement(layout, 'knop');
      await waitFor('all of them', () => opened().length === names.length);
    });
    t.diagnostic(desktop.files().map((name) => name.slice(0, 30)).join(' | '));
    assert.equal(desktop.files().length, names.length + 1);
    assert.equal(readFileSync(join(desktop.downloads, 'bestaat.csv'), 'utf8'), 'blijft');
    assert.deepEqual(readdirSync(user.home), before);
    for (const path of opened()) assert.ok(path.startsWith(`${desktop.downloads}/`), path);
    await end(user, run);
  });
