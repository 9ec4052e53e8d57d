// Mouse events and the keyboard focus of a window with a page under its title bar.

#import "platform/macos/appkit/page_window.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#import "platform/macos/foundation/cocoa_text.h"

using Calls = std::vector<std::string>;

/// A view in place of the page. Records the mouse events that it gets.
@interface RecordingPage : NSView
@property(nonatomic) Calls *calls;
@end

@implementation RecordingPage
- (void)mouseDown:(NSEvent *)__unused event {
  self.calls->push_back("page press");
}
- (void)mouseDragged:(NSEvent *)__unused event {
  self.calls->push_back("page drag");
}
- (void)mouseUp:(NSEvent *)event {
  const bool isInside = NSPointInRect(event.locationInWindow, self.frame);
  self.calls->push_back(isInside ? "page release" : "page release outside");
}
- (BOOL)acceptsFirstResponder {
  return YES;
}
// Otherwise the first press in a window that is not key does not reach the page.
- (BOOL)acceptsFirstMouse:(NSEvent *)__unused event {
  return YES;
}
@end

/// A window that records drags, zooming and minimising instead of performing them.
@interface RecordingPageWindow : PageWindow
@property(nonatomic) Calls *calls;
@end

@implementation RecordingPageWindow
- (void)performWindowDragWithEvent:(NSEvent *)__unused event {
  self.calls->push_back("window drag");
}
- (void)performZoom:(id)__unused sender {
  self.calls->push_back("window zoom");
}
- (void)performMiniaturize:(id)__unused sender {
  self.calls->push_back("window minimise");
}
@end

namespace orvel {
namespace {

using testing::ElementsAre;

constexpr NSRect frame = {{0, 0}, {400, 300}};
// Positions in the window, in points from its lower left corner. The title bar is at the top.
constexpr NSPoint onTitleBar = {200, 290};
constexpr NSPoint onPage = {200, 100};
NSString *const doubleClickKey = @"AppleActionOnDoubleClick";

class PageWindowEvents : public testing::Test {
 protected:
  PageWindowEvents() {
    window_.releasedWhenClosed = NO;
    window_.contentView = page_;
    window_.calls = &calls_;
    page_.calls = &calls_;
    [window_ makeKeyAndOrderFront:nil];
  }
  ~PageWindowEvents() override {
    [window_ close];
    [NSUserDefaults.standardUserDefaults removeObjectForKey:doubleClickKey];
  }

  void send(NSEventType type, NSPoint position, NSInteger clickCount = 1) {
    NSEvent *event = [NSEvent mouseEventWithType:type
                                        location:position
                                   modifierFlags:0
                                       timestamp:NSProcessInfo.processInfo.systemUptime
                                    windowNumber:window_.windowNumber
                                         context:nil
                                     eventNumber:0
                                      clickCount:clickCount
                                        pressure:1];
    [window_ sendEvent:event];
  }
  /// Presses at a position, moves the mouse by 10 points (up to 3 still count as a click) and
  /// releases it.
  void drag(NSPoint position) {
    const NSPoint moved = NSMakePoint(position.x + 10, position.y);
    send(NSEventTypeLeftMouseDown, position);
    send(NSEventTypeLeftMouseDragged, moved);
    send(NSEventTypeLeftMouseUp, moved);
  }
  void click(NSPoint position, NSInteger clickCount) {
    send(NSEventTypeLeftMouseDown, position, clickCount);
    send(NSEventTypeLeftMouseUp, position, clickCount);
  }

  Calls calls_;
  RecordingPage *const page_ = [[RecordingPage alloc] initWithFrame:frame];
  RecordingPageWindow *const window_ = [[RecordingPageWindow alloc]
      initWithContentRect:frame
                styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskResizable |
                          NSWindowStyleMaskFullSizeContentView
                  backing:NSBackingStoreBuffered
                    defer:NO];
};

// A release outside the page ends the press without a click.
TEST_F(PageWindowEvents, DragOnTitleBarMovesWindowAndEndsPressOfPage) {
  drag(onTitleBar);
  EXPECT_THAT(calls_, ElementsAre("page press", "page release outside", "window drag"));
}

TEST_F(PageWindowEvents, DragOnPageReachesPage) {
  drag(onPage);
  EXPECT_THAT(calls_, ElementsAre("page press", "page drag", "page release"));
}

TEST_F(PageWindowEvents, ClickOnTitleBarReachesPage) {
  click(onTitleBar, 1);
  EXPECT_THAT(calls_, ElementsAre("page press", "page release"));
}

TEST_F(PageWindowEvents, DoubleClickOnTitleBarReachesPageAndFollowsSystemSetting) {
  const std::vector<std::pair<std::string, Calls>> rows{
      {"Maximize", {"page press", "page release", "window zoom"}},
      {"Fill", {"page press", "page release", "window zoom"}},
      {"Minimize", {"page press", "page release", "window minimise"}},
      {"None", {"page press", "page release"}}};
  for (const auto &[setting, expected] : rows) {
    [NSUserDefaults.standardUserDefaults setObject:toCocoa(setting) forKey:doubleClickKey];
    click(onTitleBar, 1);
    calls_.clear();
    click(onTitleBar, 2);
    EXPECT_EQ(calls_, expected) << setting;
  }
}

TEST_F(PageWindowEvents, DoubleClickOnPageReachesOnlyPage) {
  click(onPage, 2);
  EXPECT_THAT(calls_, ElementsAre("page press", "page release"));
}

TEST_F(PageWindowEvents, PageGetsFocusWhenKeyWindowHasNoOtherFirstResponder) {
  [window_ makeFirstResponder:nil];
  ASSERT_TRUE(window_.firstResponder == window_);
  [window_ becomeKeyWindow];
  EXPECT_TRUE(window_.firstResponder == page_);
}

}  // namespace
}  // namespace orvel
