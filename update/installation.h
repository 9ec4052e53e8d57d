#pragma once

#include <string_view>

#include "base/edition.h"

namespace orvel {

/// Returns whether a bundle runs from a read-only copy (Edition::translocationFolder).
/// Such a copy cannot be replaced. Any thread.
bool isTranslocated(std::string_view bundlePath, const Edition &edition);

}  // namespace orvel
