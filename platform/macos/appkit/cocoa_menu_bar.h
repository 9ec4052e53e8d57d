#pragma once

#include "platform/menu_bar.h"

namespace orvel {

/// The main menu. No item has a target: its action looks for one along the
/// responder chain, at whose end the application and its delegate stand.
class CocoaMenuBar final : public MenuBar {
 public:
  void install(const std::vector<Menu> &menus) override;
};

}  // namespace orvel
