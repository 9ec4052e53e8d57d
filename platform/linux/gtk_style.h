#pragma once

#include "platform/window.h"

namespace orvel {

/// Draws everything of the application dark, in shades of one tone, whatever
/// the theme of the desktop. Widgets join by the style class "orvel".
void installStyle(const Color &tone);

}  // namespace orvel
