#pragma once

#include <gtk/gtk.h>

#include "platform/linux/gtk_application.h"
#include "platform/linux/gtk_menu_bar.h"
#include "platform/user_defaults.h"
#include "platform/window.h"

namespace orvel {

/// A window whose header bar holds the menus. Its size, and whether it fills
/// the screen, are kept in the user's settings.
class GtkMainWindow final : public Window {
 public:
  GtkMainWindow(const WindowConfiguration &configuration, WebView &content,
                const std::optional<Rect> &screen, GtkApplicationHost &application,
                GtkMenuBar &menuBar, UserDefaults &defaults);
  ~GtkMainWindow() override;
  GtkMainWindow(const GtkMainWindow &) = delete;
  GtkMainWindow &operator=(const GtkMainWindow &) = delete;

  void makeKeyAndOrderFront() override;

  ::GtkWindow *handle() const { return window_; }

 private:
  void restoreFrame(const WindowConfiguration &configuration, const std::optional<Rect> &screen);
  void frameChanged();
  void keepFrame();
  void closed();

  GtkApplicationHost &application_;
  UserDefaults &defaults_;
  const std::string autosaveName_;
  ::GtkWindow *const window_;
  /// The source that keeps a frame once it has stopped changing, or zero.
  guint keeping_ = 0;
};

class GtkWindowSystem final : public WindowSystem {
 public:
  GtkWindowSystem(GtkApplicationHost &application, GtkMenuBar &menuBar, UserDefaults &defaults)
      : application_(application), menuBar_(menuBar), defaults_(defaults) {}

  /// On X11 what docks and bars leave; a Wayland program is told the whole
  /// screen only.
  std::optional<Rect> mainScreenVisibleFrame() const override;
  std::unique_ptr<Window> create(const WindowConfiguration &configuration,
                                 WebView &content) override;

 private:
  GtkApplicationHost &application_;
  GtkMenuBar &menuBar_;
  UserDefaults &defaults_;
};

}  // namespace orvel
