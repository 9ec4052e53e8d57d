#pragma once

#include "platform/platform.h"

namespace orvel {

/// The road from process start to event loop, the same on every platform:
/// reads the settings, makes the delegate, installs it and runs the
/// application. Returns when the event loop has ended. Main thread.
void runApplication(const Platform &platform);

}  // namespace orvel
