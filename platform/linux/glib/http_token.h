#pragma once

#include <algorithm>
#include <string_view>

#include "base/ascii.h"

namespace orvel {

/// Returns whether a text is a token, such as the name of a header field (RFC 9110, section
/// 5.6.2). Any thread.
inline bool isHttpToken(std::string_view text) {
  constexpr std::string_view punctuation = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](char character) {
    return isAsciiAlphanumeric(character) || punctuation.find(character) != std::string_view::npos;
  });
}

}  // namespace orvel
