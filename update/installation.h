#pragma once

#include <string_view>

#include "base/platform_names.h"

namespace orvel {

/// Returns whether a bundle runs from a read-only copy (PlatformNames::translocationFolder).
/// Such a copy cannot be replaced. Any thread.
bool isTranslocated(std::string_view bundlePath, const PlatformNames &names);

}  // namespace orvel
