// Stands in for osascript in the tests of smoke-macos.sh: runs operate_macos.js with a fake of
// the parts of AppKit and Core Graphics that it uses. The desktop has one application, whose
// process ID is in the file DESKTOP/pid. Its page opens another page on the keys of
// openSecondLink, and its window moves when it is dragged by the title bar. The variable FAULT
// selects a fault:
//
//   quit-event-not-sent, window-behind, keys-ignored, window-immovable, no-permission

import { existsSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import vm from 'node:vm';

const { DESKTOP, FAULT } = process.env;
const [, , script, ...argv] = process.argv.slice(2);
const positionFile = join(DESKTOP, 'position');
const position = existsSync(positionFile)
  ? JSON.parse(readFileSync(positionFile, 'utf8')) : { X: 100, Y: 50 };
const pidFile = join(DESKTOP, 'pid');
const pid = existsSync(pidFile) ? Number(readFileSync(pidFile, 'utf8')) : null;
const bundle = pid && readFileSync(join(DESKTOP, 'bundle'), 'utf8');

const url = (path) => ({ URLByResolvingSymlinksInPath: { path: { js: path } } });
const window = (owner, layer) => ({
  kCGWindowOwnerPID: owner, kCGWindowLayer: layer, kCGWindowBounds: { ...position, Width: 1000, Height: 660 },
});
const posted = [];
const $ = Object.assign(() => null, {
  kCGEventFlagMaskAlternate: 1 << 19,
  kCGEventMouseMoved: 'moved',
  kCGEventLeftMouseDown: 'down',
  kCGEventLeftMouseDragged: 'dragged',
  kCGEventLeftMouseUp: 'up',
  NSURL: { fileURLWithPath: url },
  NSRunningApplication: {
    runningApplicationsWithBundleIdentifier: (identifier) => ({
      js: identifier === 'nl.orvel.os' && pid
        ? [{ bundleURL: url(bundle), processIdentifier: pid }] : [],
    }),
    runningApplicationWithProcessIdentifier: (number) => ({
      // The bridge calls a method without arguments when its name is read.
      get terminate() {
        if (FAULT === 'quit-event-not-sent') return false;
        process.kill(number, 'SIGTERM');
        return true;
      },
    }),
  },
  NSWorkspace: { sharedWorkspace: { frontmostApplication: { processIdentifier: pid } } },
  CGWindowListCopyWindowInfo: () =>
    [window(1, 25), ...(FAULT === 'window-behind' ? [window(2, 0)] : []), window(pid, 0)],
  CGPreflightPostEventAccess: () => FAULT !== 'no-permission',
  CGEventCreateKeyboardEvent: (source, code, isDown) => ({ code, isDown, flags: 0 }),
  CGEventSetFlags: (event, flags) => { event.flags = flags; },
  CGEventCreateMouseEvent: (source, type, point) => ({ type, ...point }),
  CGPointMake: (x, y) => ({ x, y }),
  CGEventPost: (tap, event) => posted.push(event),
});
const ObjC = {
  import() {},
  bindFunction() {},
  castRefToObject: (reference) => reference,
  deepUnwrap: (object) => object,
};

const context = vm.createContext({ $, ObjC, delay() {} });
vm.runInContext(readFileSync(script, 'utf8'), context);
console.log(context.run(argv) ?? '');

const keys = posted.filter(({ isDown }) => isDown).map(({ code, flags }) => `${code} ${flags}`);
if (keys.join() === `48 ${1 << 19},48 ${1 << 19},36 0` && FAULT !== 'keys-ignored') {
  await fetch('http://127.0.0.1:4767/api/getoond?pagina=%2Flinks', { method: 'POST' });
}
const drag = posted.filter(({ type }) => ['down', 'dragged', 'up'].includes(type));
if (drag.length > 2 && FAULT !== 'window-immovable') {
  const [down, up] = [drag[0], drag.at(-1)];
  const isOnTitleBar = down.x > position.X && down.y > position.Y && down.y < position.Y + 28;
  if (down.type === 'down' && up.type === 'up' && isOnTitleBar) {
    const moved = { X: position.X + up.x - down.x, Y: position.Y + up.y - down.y };
    writeFileSync(positionFile, JSON.stringify(moved));
  }
}
