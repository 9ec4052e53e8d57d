#pragma once

#include "platform/window.h"

namespace orvel {

/// Makes GTK begin with the dark variant of its theme: it would otherwise load the
/// light one first and then both. Before GTK starts and while there is one thread.
void beginDark();

/// Draws everything of the application dark, in shades of one tone, whatever
/// the theme of the desktop. Widgets join by the style class "orvel".
void installStyle(const Color &tone);

}  // namespace orvel
