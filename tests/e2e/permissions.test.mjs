// The permissions of the application's folders and files, with a umask that removes no permission.

import assert from 'node:assert/strict';
import { chmodSync, mkdirSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

import { Desktop } from '../support/desktop/default_apps.mjs';
import { desktopTests } from '../support/desktop/desktop_test.mjs';
import { link } from '../support/desktop/page.mjs';
import { csvRoute } from '../support/desktop/responses.mjs';

const { test } = desktopTests();

/// A command that runs its arguments with umask 000. The last word is the shell's $0.
const withUmaskZero = ['sh', '-c', 'umask 000 && exec "$@"', 'sh'];

const modeOf = (path) => (statSync(path).mode & 0o777).toString(8);

/// Returns the folders of the application in the user's XDG folders.
const ownFolders = ({ XDG_CONFIG_HOME, XDG_DATA_HOME, XDG_CACHE_HOME }) =>
  [XDG_CONFIG_HOME, XDG_DATA_HOME, XDG_CACHE_HOME].map((parent) => join(parent, 'nl.orvel.os'));

/// The state that the application finds when it starts.
const initialStates = {
  'on a first start': () => {},
  'after a run that left folders and files that everyone may change': (user) => {
    for (const folder of ownFolders(user.environment)) {
      mkdirSync(folder);
      chmodSync(folder, 0o777);
    }
    mkdirSync(dirname(user.localServer.log));
    chmodSync(dirname(user.localServer.log), 0o777);
    for (const file of [user.defaultsFile, user.localServer.log]) {
      writeFileSync(file, '');
      chmodSync(file, 0o666);
    }
  },
};

for (const [situation, prepare] of Object.entries(initialStates)) {
  test(`only the user may access the application's files ${situation}`, async (user) => {
    const desktop = new Desktop(user);
    prepare(user);
    const layout = await user.startWithPage(link('export', '/api/export'),
      { '/api/export': csvRoute() }, { wrapper: withUmaskZero });
    await desktop.clickAndAwaitFile(layout, 'export', 'export.csv');
    await user.quit();

    const [config, data, cache] = ownFolders(user.environment);
    const expected = {
      [config]: '700',
      [data]: '700',
      [cache]: '700',
      [join(cache, 'temporary')]: '700',
      [dirname(user.localServer.log)]: '700',
      [user.defaultsFile]: '600',
      [user.localServer.log]: '600',
    };
    const modes = Object.keys(expected).map((path) => [path, modeOf(path)]);
    assert.deepEqual(Object.fromEntries(modes), expected);
    // The cookies are in the data folder, which other users cannot enter.
    assert.ok(readdirSync(data).includes('cookies.sqlite'));
    assert.equal(modeOf(desktop.downloadPath('export.csv')), '666', 'a download follows the umask');
  });
}
