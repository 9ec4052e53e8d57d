#pragma once

#include "platform/menu_bar.h"

namespace orvel {

/// The main menu of NSApplication. Menu items have no target: AppKit sends their actions
/// along the responder chain, which ends with NSApplication and its delegate. Main thread
/// only.
class CocoaMenuBar final : public MenuBar {
 public:
  /// Replaces the main menu, and makes the menu marked isWindowsMenu the windows menu, in
  /// which AppKit lists the windows.
  void install(const std::vector<Menu> &menus) override;
};

}  // namespace orvel
