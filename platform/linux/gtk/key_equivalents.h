#pragma once

#include <string>
#include <vector>

#include "platform/menu_bar.h"

namespace orvel {

/// Returns the keys of a menu item as GTK accelerators; the menu shows the first one. The
/// Command key becomes Control, and Super as an alternative. Empty for an item without a
/// key equivalent. Any thread.
std::vector<std::string> accelerators(const MenuItem &item);

/// Returns whether a command applies to the focused widget. The page gets the key of such a
/// command first, because web applications have their own undo and clipboard. Any thread.
bool isEditingCommand(MenuAction action);

}  // namespace orvel
