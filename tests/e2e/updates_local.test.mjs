// Updates of an application that shows the server of this machine.

import assert from 'node:assert/strict';

import { trialsOn } from './harness/trial.mjs';

const { trial, keep } = trialsOn();

trial('on this machine the user is told how it is done, and nothing is asked for', {},
  async (user, screen) => {
    const notice = 'Op deze Mac werk je de app bij met: ./scripts/build-app.sh';
    await user.startAndPaint();
    await screen.chooseApplicationItem(1);
    await screen.panel(notice);
    await keep('update-local');
    await screen.keys('Return');
    await screen.panelGone(notice);
    await screen.managing(1);
    await user.quit();
    const asked = user.root.events('request').filter(({ url }) => url.startsWith('/download/'));
    assert.deepEqual(asked, []);
  });
