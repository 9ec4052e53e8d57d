#pragma once

#include <string>
#include <vector>

namespace orvel {

/// What a menu item asks for. The three commands of our own go to the
/// application's delegate, all others to whatever has the focus, the window or
/// the application itself.
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
  /// A letter; an upper-case one means Shift as well. Empty for none. The
  /// Command key goes without saying.
  std::string keyEquivalent{};
  /// The Control key belongs to the key equivalent too.
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
  /// The system appends its list of open windows.
  bool isWindowsMenu = false;

  bool operator==(const Menu &) const = default;
};

/// The application's menu bar. Main thread only.
class MenuBar {
 public:
  virtual ~MenuBar() = default;

  /// Shows these menus, left to right, for the rest of the run.
  virtual void install(const std::vector<Menu> &menus) = 0;
};

}  // namespace orvel
