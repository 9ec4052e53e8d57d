#import "platform/macos/macos_window_system.h"

#import "platform/macos/appkit/cocoa_window.h"
#import "platform/macos/webkit/wk_page_view.h"

namespace orvel {

std::optional<Rect> MacosWindowSystem::mainScreenVisibleFrame() const {
  NSScreen *screen = NSScreen.mainScreen;
  if (screen == nil) return std::nullopt;
  const NSRect frame = screen.visibleFrame;
  return Rect{frame.origin.x, frame.origin.y, frame.size.width, frame.size.height};
}

WebWindow MacosWindowSystem::create(const WindowConfiguration &window,
                                    const WebViewConfiguration &web, WebViewDelegate &delegate) {
  auto view = std::make_unique<WKPageView>(web, bridge_, delegate);
  auto cocoaWindow = std::make_unique<CocoaWindow>(window, view->view());
  return {std::move(view), std::move(cocoaWindow)};
}

}  // namespace orvel
