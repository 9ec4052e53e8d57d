#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// The page that is shown until the page of the OS server can be loaded: empty, in the
/// window's background color.
extern const std::string_view blankPage;

/// Returns a page that shows a message. The message is HTML and is not escaped.
std::string errorPage(std::string_view message);

}  // namespace orvel
