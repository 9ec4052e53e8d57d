#pragma once

#import <AppKit/AppKit.h>

#include "platform/window.h"

namespace orvel {

class CocoaWindow final : public Window {
 public:
  /// The content is a WKPageView.
  CocoaWindow(const WindowConfiguration &configuration, WebView &content);

  void makeKeyAndOrderFront() override;

 private:
  NSWindow *const window_;
};

class CocoaWindowSystem final : public WindowSystem {
 public:
  std::optional<Rect> mainScreenVisibleFrame() const override;
  std::unique_ptr<Window> create(const WindowConfiguration &configuration,
                                 WebView &content) override;
};

}  // namespace orvel
