// The local server: its start, also with the port in use, its failures, and its restart by the
// user. After a start the application probes the server (/api/wie) until it responds.

import assert from 'node:assert/strict';
import { existsSync, mkdirSync, symlinkSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { awaitErrorPage, endedServerMessage } from '../support/desktop/error_page.mjs';
import { withPortHolder } from '../support/desktop/port_holder.mjs';
import { PORT, describePortHolders, isRunning, pathOf } from '../support/desktop/processes.mjs';

const { test } = desktopTests();

test('the error page shows the exit code of a server, which Control-R starts again',
  { behaviour: { exitCode: 1 } }, async (user, screen) => {
    user.start();
    await user.localServer.awaitServerExit();
    await awaitErrorPage(screen, endedServerMessage(1));
    user.localServer.setBehaviour({});
    await screen.pressKeys('ctrl+r');
    await user.localServer.awaitPainted();
    assert.equal(user.localServer.events('started').length, 2);

    const probes = user.localServer.requestsTo('/api/wie').length;

    await screen.pressKeys('ctrl+r');
    await user.localServer.awaitPainted(2);
    assert.equal(user.localServer.events('started').length, 2,
      'a running server is not started again');
    assert.equal(user.localServer.requestsTo('/api/wie').length, probes, 'a reload does not probe');
  });

/// Returns a folder with the programs that the application runs by their names, except node.
function programsWithoutNode(user) {
  const folder = join(user.folder, 'programs');
  mkdirSync(folder);
  for (const name of ['lsof', 'ps']) {
    symlinkSync(pathOf(name), join(folder, name));
  }
  return folder;
}

const installedNode = ['/usr/local/bin/node', '/opt/homebrew/bin/node'].find(existsSync);
const skipWithInstalledNode = installedNode ? `the application would find ${installedNode}` : false;

test('without node the error page shows the launch error, and no server starts',
  { skip: skipWithInstalledNode }, async (user, screen) => {
    user.start({ environment: { PATH: programsWithoutNode(user) } });
    const text = await screen.awaitPageText((page) => page.includes('Kon node'));
    assert.match(text, /^Orvel OS\nKon node niet starten: \S.*$/);
    assert.deepEqual(user.localServer.record(), []);
    assert.equal(describePortHolders(), '');
  });

test("node is found on the search path of the user's login shell",
  { skip: skipWithInstalledNode }, async (user) => {
    const folder = join(user.home, 'user’s programs');
    mkdirSync(folder);
    symlinkSync(process.execPath, join(folder, 'node'));
    // The application must ignore what the profile prints.
    writeFileSync(join(user.home, '.zprofile'), `echo noise\npath+=("${folder}")\n`);
    await user.startAndShowPage({ environment: { PATH: programsWithoutNode(user) } });
    const { argv } = await user.localServer.awaitStarted();
    assert.equal(argv[1], user.localServer.script);
  });

test('a stale server of the same data root is terminated before the new one starts',
  { behaviour: { stopDelay: 800 } }, async (user) => {
    await withPortHolder([user.localServer.script], async (stale) => {
      // Node runs the script. This stale server keeps its stopDelay. The new one stops at once.
      user.localServer.setBehaviour({});
      await user.startAndShowPage();
      assert.ok(!isRunning(stale.pid));
      const [staleStart, newStart] = user.localServer.events('started');
      assert.equal(staleStart.pid, stale.pid);
      assert.notEqual(newStart.pid, stale.pid);
      assert.equal(user.localServer.events('signal')[0].signal, 'SIGTERM');
      const responders = new Set(user.localServer.requests.map(({ pid }) => pid));
      assert.deepEqual([...responders], [newStart.pid]);
    });
  });

test('another program keeps the port, and the error page shows the exit of the new server',
  async (user, screen) => {
    const program = "require('http').createServer((request, response) => " +
      `response.writeHead(404).end()).listen(${PORT}, '127.0.0.1')`;
    await withPortHolder(['-e', program], async (portHolder) => {
      user.start();
      await user.localServer.awaitServerExit();
      // Node exits with code 1 when it cannot listen.
      await awaitErrorPage(screen, endedServerMessage(1));
      await user.quit();
      assert.ok(isRunning(portHolder.pid));
    });
  });
