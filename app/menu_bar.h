#pragma once

#include <vector>

#include "platform/menu_bar.h"

namespace orvel {

/// The application's menus, left to right. There is deliberately no "Close":
/// closing the only window quits.
std::vector<Menu> menuBarDescription();

}  // namespace orvel
