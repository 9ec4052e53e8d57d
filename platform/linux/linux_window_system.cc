#include "platform/linux/linux_window_system.h"

#include <memory>

#include "platform/linux/gtk/gtk_style.h"
#include "platform/linux/gtk/gtk_window.h"
#include "platform/linux/gtk/screen.h"

namespace orvel {

std::optional<Rect> LinuxWindowSystem::mainScreenVisibleFrame() const {
  GdkDisplay *display = gdk_display_get_default();
  if (display == nullptr) return std::nullopt;
  const auto monitor = mainMonitor(display);
  return monitor ? std::optional(visibleFrame(monitor.get())) : std::nullopt;
}

WebWindow LinuxWindowSystem::create(const WindowConfiguration &window,
                                    const WebViewConfiguration &web, WebViewDelegate &delegate) {
  // The view comes first, because its process takes longer to start than the window.
  auto view = std::make_unique<WebKitPageView>(web, environment_, delegate);
  view->setColorBehind(window.backgroundColor);
  installStyle(window.backgroundColor);
  auto gtkWindow =
      std::make_unique<GtkMainWindow>(window, view->widget(), application_, menuBar_, defaults_);
  return {std::move(view), std::move(gtkWindow)};
}

}  // namespace orvel
