#pragma once

#include <algorithm>
#include <string_view>

namespace orvel {

/// Compares two texts, ignoring the case of ASCII letters. Any thread.
constexpr bool equalIgnoringAsciiCase(std::string_view one, std::string_view other) {
  const auto lowerCase = [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
  };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

}  // namespace orvel
