#import "platform/macos/appkit/cocoa_window.h"

#import "platform/macos/appkit/page_window.h"
#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

NSWindowStyleMask styleMaskOf(const WindowConfiguration &configuration) {
  NSWindowStyleMask mask = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                           NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable;
  if (configuration.fullSizeContentView) mask |= NSWindowStyleMaskFullSizeContentView;
  return mask;
}

NSRect toCocoa(const Rect &rect) { return NSMakeRect(rect.x, rect.y, rect.width, rect.height); }

NSColor *toCocoa(const Color &color) {
  return [NSColor colorWithRed:color.red green:color.green blue:color.blue alpha:color.alpha];
}

}  // namespace

CocoaWindow::CocoaWindow(const WindowConfiguration &configuration, NSView *content)
    : window_([[PageWindow alloc] initWithContentRect:toCocoa(configuration.contentRect)
                                            styleMask:styleMaskOf(configuration)
                                              backing:NSBackingStoreBuffered
                                                defer:NO]) {
  // ARC releases the window. Without this, closing it would release it once more.
  window_.releasedWhenClosed = NO;
  window_.tabbingMode = NSWindowTabbingModeDisallowed;
  window_.restorable = NO;
  window_.title = toCocoa(configuration.title);
  window_.titlebarAppearsTransparent = configuration.titlebarTransparent;
  window_.titleVisibility = configuration.titleVisible ? NSWindowTitleVisible : NSWindowTitleHidden;
  window_.backgroundColor = toCocoa(configuration.backgroundColor);
  window_.minSize = NSMakeSize(configuration.minimumWidth, configuration.minimumHeight);
  window_.contentView = content;
  [window_ makeFirstResponder:content];
  // Restores the frame that an earlier run saved. Last, so that no setting changes this frame.
  [window_ setFrameAutosaveName:toCocoa(configuration.frameAutosaveName)];
}

void CocoaWindow::makeKeyAndOrderFront() {
  [window_ makeKeyAndOrderFront:nil];
  // AppKit may move the focus when a window is first shown, because it then computes the key view
  // loop, the order of the views for the Tab key.
  [window_ makeFirstResponder:window_.contentView];
}

}  // namespace orvel
