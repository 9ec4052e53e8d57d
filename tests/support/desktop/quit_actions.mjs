// The ways in which a user or the system quits the application, as functions of the run and the
// screen.

import { kill } from './processes.mjs';

const press = (keys) => (run, screen) => screen.pressKeys(keys);
const send = (signal) => (run) => kill(run.pid, signal);

export const quitActions = {
  'Control-Q': press('ctrl+q'),
  // The window manager handles this key. It asks the window to close, as its close button does.
  'Alt-F4': press('alt+F4'),
  SIGTERM: send('SIGTERM'),
  SIGINT: send('SIGINT'),
  SIGHUP: send('SIGHUP'),
};
