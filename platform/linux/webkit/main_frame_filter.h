#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// Returns the JSON rules of a content filter that blocks an address in the main frame, with
/// any query and fragment. Any thread.
std::string mainFrameFilter(std::string_view address);

}  // namespace orvel
