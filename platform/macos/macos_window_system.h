#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/window.h"

namespace orvel {

/// AppKit windows that show WebKit views. Main thread only.
class MacosWindowSystem final : public WindowSystem {
 public:
  /// The bridge becomes the delegate of each web view.
  explicit MacosWindowSystem(AppDelegateBridge *bridge) : bridge_(bridge) {}

  /// Returns NSScreen.visibleFrame of the main screen, in points.
  std::optional<Rect> mainScreenVisibleFrame() const override;
  WebWindow create(const WindowConfiguration &window, const WebViewConfiguration &web,
                   WebViewDelegate &delegate) override;

 private:
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
