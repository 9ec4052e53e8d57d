#pragma once

#include <vector>

#include "platform/menu_bar.h"

namespace orvel {

/// Returns the application's menus, from left to right. There is no "Close" item,
/// because closing the only window quits.
std::vector<Menu> menuBarDescription();

}  // namespace orvel
