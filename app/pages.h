#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// The empty page in the window's own dark tone, shown until the OS is there.
extern const std::string_view blankPage;

/// The page that shows one message. The message is put in as it stands, so
/// markup in it counts.
std::string errorPage(std::string_view message);

}  // namespace orvel
