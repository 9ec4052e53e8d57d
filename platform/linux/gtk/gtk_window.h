#pragma once

#include <gtk/gtk.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/gtk/full_screen_bar.h"
#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/linux/gtk/screen.h"
#include "platform/user_defaults.h"
#include "platform/window.h"

namespace orvel {

/// A window whose header bar holds the menus. Saves its size, and whether it is maximised,
/// in the user defaults: soon after a change, when it closes and when the application
/// terminates. Main thread only.
class GtkMainWindow final : public Window {
 public:
  /// Creates a hidden window that shows `content` below the header bar.
  GtkMainWindow(const WindowConfiguration &configuration, GtkWidget *content,
                GtkApplicationHost &application, GtkMenuBar &menuBar, UserDefaults &defaults);
  ~GtkMainWindow() override;
  GtkMainWindow(const GtkMainWindow &) = delete;
  GtkMainWindow &operator=(const GtkMainWindow &) = delete;

  void makeKeyAndOrderFront() override;

  GtkWindow *handle() const { return window_; }

 private:
  /// Returns the visible frame of the window's monitor, or nullopt without a monitor.
  std::optional<Rect> visibleArea() const;
  void restoreFrame(const WindowConfiguration &configuration);
  void fitMinimumSize();
  void frameChanged();
  void saveFrame();
  void closeRequested();

  GtkApplicationHost &application_;
  UserDefaults &defaults_;
  const std::string autosaveName_;
  GtkWindow *const window_;
  const double minimumWidth_;
  const double minimumHeight_;
  // The destructor resets these two before it destroys window_, which must outlive them.
  std::optional<FullScreenBar> fullScreenBar_;
  std::optional<MonitorWatch> monitorWatch_;
  /// The source that saves the frame after a delay, or zero.
  guint saveTimer_ = 0;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
