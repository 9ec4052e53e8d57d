#pragma once

#include <gtk/gtk.h>

#include <optional>

#include "platform/linux/gtk/full_screen_bar.h"
#include "platform/linux/gtk/gtk_application.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/linux/gtk/screen.h"
#include "platform/user_defaults.h"
#include "platform/window.h"

namespace orvel {

/// A window whose header bar holds the menus. Its size, and whether it fills
/// the screen, are kept in the user's settings.
class GtkMainWindow final : public Window {
 public:
  GtkMainWindow(const WindowConfiguration &configuration, GtkWidget *content,
                GtkApplicationHost &application, GtkMenuBar &menuBar, UserDefaults &defaults);
  ~GtkMainWindow() override;
  GtkMainWindow(const GtkMainWindow &) = delete;
  GtkMainWindow &operator=(const GtkMainWindow &) = delete;

  void makeKeyAndOrderFront() override;

  ::GtkWindow *handle() const { return window_; }

 private:
  /// Returns the visible frame of the monitor that the window is on.
  std::optional<Rect> room() const;
  void restoreFrame(const WindowConfiguration &configuration);
  void fitMinimumSize();
  void frameChanged();
  void keepFrame();
  void closed();

  GtkApplicationHost &application_;
  UserDefaults &defaults_;
  const std::string autosaveName_;
  ::GtkWindow *const window_;
  const double minimumWidth_;
  const double minimumHeight_;
  // Destroyed before the window.
  std::optional<FullScreenBar> fullScreenBar_;
  std::optional<MonitorWatch> monitors_;
  /// The source that keeps a frame once it has stopped changing, or zero.
  guint keeping_ = 0;
};

}  // namespace orvel
