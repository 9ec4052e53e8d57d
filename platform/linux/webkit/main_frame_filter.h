#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// The rules, as JSON, that keep what lies at an address out of the main frame,
/// whatever its query and fragment.
std::string mainFrameFilter(std::string_view address);

}  // namespace orvel
