#pragma once

#include <string>
#include <vector>

#include "platform/menu_bar.h"

namespace orvel {

/// Returns a menu item's key equivalent as GTK accelerators, of which the menu shows the first.
/// Command becomes Control, or Super as an alternative; Command with Control becomes Control
/// with Super. Full screen also gets F11. Empty for an item without a key equivalent. Any
/// thread.
std::vector<std::string> accelerators(const MenuItem &item);

}  // namespace orvel
