// The ways in which a user or the system quits the application.

import { kill } from './processes.mjs';

const pressQuitKey = (run, screen) => screen.pressKeys('ctrl+q');
// The window manager's key: it asks the window to close, as its close button does.
const pressCloseKey = (run, screen) => screen.pressKeys('alt+F4');
const send = (signal) => (run) => kill(run.pid, signal);

export const quitActions = {
  'the quit key': pressQuitKey,
  'the close key': pressCloseKey,
  SIGTERM: send('SIGTERM'),
  SIGINT: send('SIGINT'),
  SIGHUP: send('SIGHUP'),
};
