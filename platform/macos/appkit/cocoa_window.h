#pragma once

#import <AppKit/AppKit.h>

#include "platform/window.h"

namespace orvel {

class CocoaWindow final : public Window {
 public:
  CocoaWindow(const WindowConfiguration &configuration, NSView *content);

  void makeKeyAndOrderFront() override;

 private:
  NSWindow *const window_;
};

}  // namespace orvel
