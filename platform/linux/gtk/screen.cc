#include "platform/linux/gtk/screen.h"

#ifdef GDK_WINDOWING_X11
#include <gdk/x11/gdkx.h>
#endif

#include <utility>

#include "platform/linux/glib/list_model.h"

namespace orvel {

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

Rect visibleFrame(GdkMonitor *monitor) {
  GdkRectangle area;
  gdk_monitor_get_geometry(monitor, &area);
#ifdef GDK_WINDOWING_X11
  if (GDK_IS_X11_MONITOR(monitor)) gdk_x11_monitor_get_workarea(monitor, &area);
#endif
  return Rect{static_cast<double>(area.x), static_cast<double>(area.y),
              static_cast<double>(area.width), static_cast<double>(area.height)};
}

MonitorWatch::MonitorWatch(GtkWindow *window, std::function<void()> changed)
    : window_(window),
      changed_(std::move(changed)),
      display_(gtk_widget_get_display(GTK_WIDGET(window))),
      monitors_(gdk_display_get_monitors(display_)) {
  connections_.emplace_back(
      monitors_, "items-changed", this, +[](MonitorWatch *watch) {
        watch->watchMonitors();
        watch->changed_();
      });
  watchMonitors();
  watchWorkArea();
  connections_.emplace_back(
      window_, "realize", this, +[](MonitorWatch *watch) { watch->watchSurface(); });
}

MonitorWatch::~MonitorWatch() { g_clear_handle_id(&workAreaSource_, g_source_remove); }

GObjectPointer<GdkMonitor> MonitorWatch::monitor() const {
  GdkMonitor *current =
      surface_ ? gdk_display_get_monitor_at_surface(display_, surface_.get()) : nullptr;
  return current != nullptr ? retain(current) : mainMonitor(display_);
}

/// Reports one more change, after those of the monitors, when the root window (X11) is resized. By
/// then the window manager may have updated the work area, for which GDK has no signal.
void MonitorWatch::watchWorkArea() {
#ifdef GDK_WINDOWING_X11
  if (!GDK_IS_X11_DISPLAY(display_)) return;
  connections_.emplace_back(
      display_, "xevent", this, +[](MonitorWatch *watch, const XEvent *event) -> gboolean {
        const bool isRoot = event->xany.window == gdk_x11_display_get_xrootwindow(watch->display_);
        if (!isRoot || event->type != ConfigureNotify || watch->workAreaSource_ != 0) return FALSE;
        // Deferred, because GDK handles the event after this handler.
        watch->workAreaSource_ = g_idle_add_once(
            +[](gpointer data) {
              auto *self = static_cast<MonitorWatch *>(data);
              self->workAreaSource_ = 0;
              self->changed_();
            },
            watch);
        return FALSE;
      });
#endif
}

void MonitorWatch::watchSurface() {
  surfaceConnections_.clear();
  surface_ = retain(gtk_native_get_surface(GTK_NATIVE(window_)));
  for (const char *signal : {"enter-monitor", "leave-monitor"}) {
    surfaceConnections_.emplace_back(
        surface_.get(), signal, this, +[](MonitorWatch *watch) { watch->changed_(); });
  }
}

void MonitorWatch::watchMonitors() {
  monitorConnections_.clear();
  for (const auto &monitor : itemsOf<GdkMonitor>(monitors_)) {
    for (const char *signal : {"notify::geometry", "notify::scale-factor"}) {
      monitorConnections_.emplace_back(
          monitor.get(), signal, this, +[](MonitorWatch *watch) { watch->changed_(); });
    }
  }
}

}  // namespace orvel
