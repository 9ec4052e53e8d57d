#pragma once

#import <AppKit/AppKit.h>

#include "platform/window.h"

namespace orvel {

/// A window that one view fills and that gives this view the keyboard focus. Main thread only.
class CocoaWindow final : public Window {
 public:
  /// Makes the window without showing it. A frame saved under the autosave name takes
  /// precedence over the configured one.
  CocoaWindow(const WindowConfiguration &configuration, NSView *content);

  void makeKeyAndOrderFront() override;

 private:
  NSWindow *const window_;
};

}  // namespace orvel
