#import "platform/macos/appkit/page_window.h"

#include "base/title_bar.h"
#import "platform/macos/foundation/cocoa_text.h"

@implementation PageWindow {
  orvel::TitleBarMouse _mouse;
  NSEvent *_pressEvent;
}

- (void)becomeKeyWindow {
  [super becomeKeyWindow];
  // A window that is its own first responder ignores keys. initialFirstResponder alone does not
  // prevent that (github.com/tauri-apps/tao/issues/208).
  if (self.firstResponder == self) [self makeFirstResponder:self.contentView];
}

/// Follows the left mouse button. No drag can begin while an alert is open, because its modal loop
/// dispatches no mouse events to this window.
- (void)sendEvent:(NSEvent *)event {
  const NSPoint position = event.locationInWindow;
  switch (event.type) {
    case NSEventTypeLeftMouseDown:
      _pressEvent = event;
      _mouse.press([self isTitleBarAt:position], position.x, position.y);
      [super sendEvent:event];
      return;
    case NSEventTypeLeftMouseDragged:
      [self handleMouseEvent:event use:_mouse.drag(position.x, position.y)];
      return;
    case NSEventTypeLeftMouseUp:
      [self handleMouseEvent:event use:_mouse.release(static_cast<int>(event.clickCount))];
      return;
    default:
      [super sendEvent:event];
  }
}

- (void)handleMouseEvent:(NSEvent *)event use:(orvel::MouseEventUse)use {
  switch (use) {
    case orvel::MouseEventUse::page:
      [super sendEvent:event];
      return;
    case orvel::MouseEventUse::pageAndDoubleClick:
      [super sendEvent:event];
      [self doubleClickTitleBar];
      return;
    case orvel::MouseEventUse::startWindowDrag:
      [self sendReleaseOutsidePage];
      [self performWindowDragWithEvent:_pressEvent];
      return;
    case orvel::MouseEventUse::none:
      return;
  }
}

/// Returns whether a position in the window is on the part of the content view that is under
/// the title bar. In full screen the title bar is a window of its own.
- (BOOL)isTitleBarAt:(NSPoint)position {
  if ((self.styleMask & NSWindowStyleMaskFullScreen) != 0) return NO;
  if (position.y < NSMaxY(self.contentLayoutRect)) return NO;
  // The buttons of the title bar are not in the content view. The superview has the window's
  // coordinate system.
  NSView *content = self.contentView;
  return [[content.superview hitTest:position] isDescendantOf:content];
}

/// Ends the press of the page when a drag of the window begins: a release outside the page is
/// not a click. The page may not get the release that ends the drag (NSWindow.h,
/// performWindowDragWithEvent:), and WebKit does not update :hover and :active while the button
/// is pressed.
- (void)sendReleaseOutsidePage {
  NSEvent *release = [NSEvent mouseEventWithType:NSEventTypeLeftMouseUp
                                        location:NSMakePoint(-1, -1)
                                   modifierFlags:_pressEvent.modifierFlags
                                       timestamp:NSProcessInfo.processInfo.systemUptime
                                    windowNumber:self.windowNumber
                                         context:nil
                                     eventNumber:_pressEvent.eventNumber
                                      clickCount:_pressEvent.clickCount
                                        pressure:0];
  if (release != nil) [super sendEvent:release];
}

/// Does what the user's setting for a double click on a title bar says.
- (void)doubleClickTitleBar {
  NSString *preference =
      [NSUserDefaults.standardUserDefaults stringForKey:@"AppleActionOnDoubleClick"];
  switch (orvel::titleBarDoubleClick(orvel::fromCocoa(preference))) {
    case orvel::TitleBarDoubleClick::none:
      return;
    case orvel::TitleBarDoubleClick::miniaturize:
      [self performMiniaturize:nil];
      return;
    case orvel::TitleBarDoubleClick::zoom:
      [self performZoom:nil];
      return;
  }
}

@end
