#pragma once

#include <string>
#include <vector>

#include "platform/menu_bar.h"

namespace orvel {

/// The keys of a menu item as GTK accelerators, the one that the menu shows
/// first. The Command key is Control, and Super as well, for a hand that is
/// used to a Mac. Empty for an item without a key equivalent.
std::vector<std::string> accelerators(const MenuItem &item);

/// Whether the command goes to whatever has the focus. The page then gets the
/// key first, for web applications have their own undo and clipboard.
bool isEditingCommand(MenuAction action);

}  // namespace orvel
