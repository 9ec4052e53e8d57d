#pragma once

#include <string_view>

namespace orvel {

/// Whether a version is later than another. Versions are numbers between full
/// stops, compared one by one; what is no number of 64 bits counts as 0, and so
/// does a number that is missing. Any thread.
bool nieuwer(std::string_view kandidaat, std::string_view dan);

}  // namespace orvel
