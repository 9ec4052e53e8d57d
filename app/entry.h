#pragma once

#include "platform/platform.h"

namespace orvel {

/// Runs the application on a platform: reads the settings, creates the delegate,
/// installs it and runs the event loop. Returns when `Application::run` does. Main
/// thread.
void runApplication(const Platform &platform);

}  // namespace orvel
