#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/menu_bar.h"

namespace orvel {

/// The menus as a bar that a window puts into its header, and their keys.
/// Main thread only.
class GtkMenuBar final : public MenuBar {
 public:
  /// Carries out the command of an item for the window that it came from.
  using Perform = std::function<void(MenuAction, GtkWindow *)>;

  /// The application menu, which has no title, shows the application's name.
  GtkMenuBar(std::string applicationName, Perform perform);

  void install(const std::vector<Menu> &menus) override;

  /// A new widget that shows the menus.
  GtkWidget *makeWidget() const;
  /// Gives a window the keys of the editing commands. With Control the widget
  /// that has the focus gets them first, the window what is left; with Super
  /// the window takes them, for a page would see but the letter.
  void addEditingKeys(GtkWindow *window);
  /// Gives a window the keys of all other commands, before any widget: they
  /// work over a page that has stopped answering.
  void addApplicationKeys(GtkWindow *window);
  /// Gives a window the keys that end the application, before any widget.
  void addQuitKeys(GtkWindow *window);

 private:
  void addActions(GtkWindow *window);
  void addKeys(GtkWindow *window, GtkPropagationPhase phase,
               const std::function<bool(const MenuItem &, std::string_view key)> &belongs);

  const std::string applicationName_;
  const Perform perform_;
  std::vector<Menu> menus_;
  GObjectPointer<GMenu> model_ = adopt(g_menu_new());
};

}  // namespace orvel
