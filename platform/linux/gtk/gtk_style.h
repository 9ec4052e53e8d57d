#pragma once

#include "platform/window.h"

namespace orvel {

/// Makes GTK load the dark variant of its theme from the start. Otherwise GTK would load the
/// light variant first and the dark one later. Call it before GTK starts and while the process
/// has one thread.
void makeDarkThemeDefault();

/// Installs the style sheet of the application for the default display: widgets with the
/// class "orvel" get dark colours, derived from one tone, in every desktop theme. Keeps the
/// dark variant of the theme when the user changes the theme. Main thread only.
void installStyle(const Color &tone);

}  // namespace orvel
