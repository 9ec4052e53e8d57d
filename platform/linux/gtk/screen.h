#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/window.h"

namespace orvel {

/// Returns the primary monitor on X11, else the first monitor, or null when the display has
/// none. Main thread only.
GObjectPointer<GdkMonitor> mainMonitor(GdkDisplay *display);

/// Returns the part of a monitor that windows may use, in points. On X11 this is the work
/// area (without docks and panels); on Wayland it is the whole monitor. Main thread only.
Rect visibleFrame(GdkMonitor *monitor);

/// An observer of the monitors of a window. Main thread only.
class MonitorWatch {
 public:
  /// Calls `changed` after the window moves to another monitor, and after a monitor is
  /// added, is removed or changes its size or scale. A dock that appears later is not
  /// reported: GDK does not receive the root window's PropertyNotify for _NET_WORKAREA. The
  /// window must outlive this object.
  MonitorWatch(GtkWindow *window, std::function<void()> changed);
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

  GtkWindow *const window_;
  const std::function<void()> changed_;
  GdkDisplay *const display_;
  GListModel *const monitors_;
  GObjectPointer<GdkSurface> surface_;
  /// The idle source that reports a new size of the root window, or zero.
  guint workAreaSource_ = 0;
  std::vector<SignalConnection> connections_;
  std::vector<SignalConnection> surfaceConnections_;
  std::vector<SignalConnection> monitorConnections_;
};

}  // namespace orvel
