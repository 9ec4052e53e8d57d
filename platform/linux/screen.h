#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <vector>

#include "platform/linux/gobject_pointer.h"
#include "platform/window.h"

namespace orvel {

/// Returns the main monitor: the primary one of X11, else the first. Null when the
/// display has none.
GObjectPointer<GdkMonitor> mainMonitor(GdkDisplay *display);

/// Returns the part of a monitor that windows may use, in points. On X11 that is
/// what docks and bars leave free; Wayland tells the whole monitor only.
Rect visibleFrame(GdkMonitor *monitor);

/// Reports what happens to the monitor that a window is on. Main thread only.
class MonitorWatch {
 public:
  /// Calls `changed` after the window has moved to another monitor, or a monitor
  /// has got another size, scale or visible frame, been added or removed.
  MonitorWatch(::GtkWindow *window, std::function<void()> changed);
  ~MonitorWatch();
  MonitorWatch(const MonitorWatch &) = delete;
  MonitorWatch &operator=(const MonitorWatch &) = delete;

  /// Returns the monitor that shows most of the window, or the main one while the
  /// window is on none. Null when the display has no monitor.
  GObjectPointer<GdkMonitor> monitor() const;

 private:
  void watchWorkArea();
  void watchSurface();
  void watchMonitors();
  void forgetMonitors();

  ::GtkWindow *const window_;
  const std::function<void()> changed_;
  GdkDisplay *const display_;
  GListModel *const all_;
  std::vector<GObjectPointer<GdkMonitor>> watched_;
  GObjectPointer<GdkSurface> surface_;
  /// The source that reports another work area, or zero.
  guint pending_ = 0;
};

}  // namespace orvel
