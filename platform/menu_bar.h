#pragma once

#include <string>
#include <vector>

namespace orvel {

/// The command of a menu item. zoekUpdateMenu (check for an update), kiesAdres (choose the
/// server's address) and reloadPage go to the ApplicationDelegate. The platform sends the others
/// to the focused view, the window or the application.
enum class MenuAction {
  none,
  orderFrontStandardAboutPanel,
  zoekUpdateMenu,
  kiesAdres,
  hide,
  terminate,
  undo,
  redo,
  cut,
  copy,
  paste,
  selectAll,
  reloadPage,
  toggleFullScreen,
  performMiniaturize,
};

/// One entry of a menu. A plain value.
struct MenuItem {
  std::string title;
  MenuAction action = MenuAction::none;
  /// A letter that is pressed with the Command key (Linux: Control or Super); an upper-case
  /// letter adds Shift. Empty when the item has no key equivalent.
  std::string keyEquivalent{};
  /// Whether the key equivalent includes Command and Control (Linux: Control and Super).
  bool withControl = false;
  bool isSeparator = false;

  static MenuItem separator() {
    MenuItem item;
    item.isSeparator = true;
    return item;
  }

  bool operator==(const MenuItem &) const = default;
};

struct Menu {
  /// Empty for the application menu, which the system names.
  std::string title;
  std::vector<MenuItem> items;
  /// Whether macOS appends its list of open windows. Linux has no such list.
  bool isWindowsMenu = false;

  bool operator==(const Menu &) const = default;
};

/// The application's menu bar. Main thread only.
class MenuBar {
 public:
  virtual ~MenuBar() = default;

  /// Shows the menus, from left to right. Called once.
  virtual void install(const std::vector<Menu> &menus) = 0;
};

}  // namespace orvel
