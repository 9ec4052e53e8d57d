#pragma once

#include <string>
#include <vector>

#include "platform/menu_bar.h"

namespace orvel {

/// Returns the key equivalents of a menu item as GTK accelerators, or nothing for an item
/// without one. The Command key becomes Control, and Super as an alternative. The menu shows
/// the first accelerator. Any thread.
std::vector<std::string> accelerators(const MenuItem &item);

}  // namespace orvel
