#include <gdk/gdk.h>
#ifdef GDK_WINDOWING_X11
#include <gdk/x11/gdkx.h>
#endif

#include "platform/linux/gtk_window.h"

namespace orvel {

namespace {

GObjectPointer<GdkMonitor> mainMonitor(GdkDisplay *display) {
#ifdef GDK_WINDOWING_X11
  if (GDK_IS_X11_DISPLAY(display)) {
    GdkMonitor *primary = gdk_x11_display_get_primary_monitor(display);
    if (primary != nullptr) return retain(primary);
  }
#endif
  return adopt(
      static_cast<GdkMonitor *>(g_list_model_get_item(gdk_display_get_monitors(display), 0)));
}

}  // namespace

std::optional<Rect> GtkWindowSystem::mainScreenVisibleFrame() const {
  GdkDisplay *display = gdk_display_get_default();
  if (display == nullptr) return std::nullopt;
  const auto monitor = mainMonitor(display);
  if (!monitor) return std::nullopt;
  GdkRectangle area;
  gdk_monitor_get_geometry(monitor.get(), &area);
#ifdef GDK_WINDOWING_X11
  if (GDK_IS_X11_DISPLAY(display)) gdk_x11_monitor_get_workarea(monitor.get(), &area);
#endif
  return Rect{static_cast<double>(area.x), static_cast<double>(area.y),
              static_cast<double>(area.width), static_cast<double>(area.height)};
}

}  // namespace orvel
