// Finds, observes and operates an application on macOS, for smoke-macos.sh:
//
//   osascript -l JavaScript scripts/operate_macos.js COMMAND ARGUMENT...
//
// Prints the result of the command. Reading windows needs no permission; posting events needs
// the permission in System Settings, Privacy & Security, Accessibility.
//
// Written for JavaScript for Automation, which has no modules. There `$` has the functions,
// constants and classes of the imported frameworks, a method without arguments is called without
// parentheses, `$()` is a null pointer, `.js` converts an Objective-C object to a JavaScript value,
// and `delay` waits for a number of seconds.

/* exported run */

ObjC.import('AppKit');
ObjC.import('CoreGraphics');
// The framework's metadata for scripts does not describe this function.
ObjC.bindFunction('CGPreflightPostEventAccess', ['bool', []]);

// Virtual key codes: kVK_Tab and kVK_Return.
const TAB = 48;
const RETURN = 36;

const resolvedPath = (url) => url.URLByResolvingSymlinksInPath.path.js;

// Returns the normal windows of all applications, front to back. Layer 0 excludes menus, the
// Dock and the menu bar.
function windows() {
  const options = $.kCGWindowListOptionOnScreenOnly | $.kCGWindowListExcludeDesktopElements;
  const list = $.CGWindowListCopyWindowInfo(options, $.kCGNullWindowID);
  return ObjC.deepUnwrap(ObjC.castRefToObject(list)).filter((window) => window.kCGWindowLayer === 0);
}

function boundsOf(pid) {
  const window = windows().find(({ kCGWindowOwnerPID }) => kCGWindowOwnerPID === pid);
  if (!window) throw new Error(`process ${pid} has no window on the screen`);
  return window.kCGWindowBounds;
}

// Posts an event and waits until the system has probably delivered it.
function post(event) {
  $.CGEventPost($.kCGHIDEventTap, event);
  delay(0.05);
}

function pressKey(code, flags) {
  for (const isDown of [true, false]) {
    const event = $.CGEventCreateKeyboardEvent($(), code, isDown);
    $.CGEventSetFlags(event, flags);
    post(event);
  }
}

// Posts a mouse event at a position on the screen.
function postMouse(type, x, y) {
  post($.CGEventCreateMouseEvent($(), type, $.CGPointMake(x, y), $.kCGMouseButtonLeft));
}

const commands = {
  // Returns the process ID of the application that runs from a bundle, or the empty text.
  pid(bundle) {
    const path = resolvedPath($.NSURL.fileURLWithPath(bundle));
    const running = $.NSRunningApplication.runningApplicationsWithBundleIdentifier('nl.orvel.os');
    const found = running.js.find((application) => resolvedPath(application.bundleURL) === path);
    return found ? String(found.processIdentifier) : '';
  },
  // Sends the quit Apple event and returns whether it was sent.
  quit(pid) {
    return $.NSRunningApplication.runningApplicationWithProcessIdentifier(Number(pid)).terminate;
  },
  // Returns whether the application is active and has the frontmost window.
  isInFront(pid) {
    const active = $.NSWorkspace.sharedWorkspace.frontmostApplication.processIdentifier;
    return active === Number(pid) && windows()[0]?.kCGWindowOwnerPID === active;
  },
  // Returns whether this process may post events.
  mayPostEvents() {
    return Boolean($.CGPreflightPostEventAccess());
  },
  // Opens the second link of the page by keys. The first link of the home page leads to the home
  // page itself. Option-Tab moves to a link even where the user's settings exclude links from Tab.
  openSecondLink() {
    for (let link = 1; link <= 2; link += 1) pressKey(TAB, $.kCGEventFlagMaskAlternate);
    pressKey(RETURN, 0);
  },
  // Returns the position of the window of a process.
  position(pid) {
    const { X, Y } = boundsOf(Number(pid));
    return `${X} ${Y}`;
  },
  // Drags the window of a process by the middle of its title bar.
  dragTitleBar(pid) {
    const { X, Y, Width } = boundsOf(Number(pid));
    const x = X + Width / 2;
    // Inside a title bar, which is 28 points high.
    const y = Y + 10;
    postMouse($.kCGEventMouseMoved, x, y);
    postMouse($.kCGEventLeftMouseDown, x, y);
    for (let step = 1; step <= 10; step += 1) {
      postMouse($.kCGEventLeftMouseDragged, x - 6 * step, y + 6 * step);
    }
    postMouse($.kCGEventLeftMouseUp, x - 60, y + 60);
  },
};

// The entry point: osascript calls it with the arguments and prints its result.
function run([command, ...args]) {
  return commands[command](...args);
}
