#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/menu_bar.h"

namespace orvel {

/// The menus as a widget for a window's header, and their keyboard shortcuts. Main thread
/// only.
class GtkMenuBar final : public MenuBar {
 public:
  /// Carries out the command of a menu item in the window where the user chose it.
  using Perform = std::function<void(MenuAction, GtkWindow *)>;

  /// A menu without a title, which is the application menu, gets the application's name.
  GtkMenuBar(std::string applicationName, Perform perform);

  void install(const std::vector<Menu> &menus) override;

  /// Returns a new widget that shows the menus, with a floating reference.
  GtkWidget *makeWidget() const;
  /// Adds the shortcuts of the editing commands to a window. Those with Control run in the
  /// bubble phase, so the focused widget handles the key first: web applications have their own
  /// undo and clipboard. Those with Super run in the capture phase, because a page would insert
  /// the letter.
  void addEditingKeys(GtkWindow *window);
  /// Adds the shortcuts of all other commands to a window. They run in the capture phase, so
  /// they work while the page is unresponsive.
  void addApplicationKeys(GtkWindow *window);
  /// Adds the shortcuts of one command to a window. They run in the capture phase.
  void addKeysOf(MenuAction command, GtkWindow *window);

 private:
  /// Gives a window the action group for its menu items and shortcuts. A second call replaces the
  /// group with an equal one.
  void addActions(GtkWindow *window);
  void addKeys(GtkWindow *window, GtkPropagationPhase phase,
               const std::function<bool(const MenuItem &, std::string_view key)> &isIncluded);

  const std::string applicationName_;
  const Perform perform_;
  std::vector<Menu> menus_;
  GObjectPointer<GMenu> model_ = adopt(g_menu_new());
};

}  // namespace orvel
