#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <vector>

namespace orvel::fuzz {

/// Checks the properties of a fuzz target for one input. Each fuzz target defines this function.
void testInput(std::string_view input);

/// Aborts when a property does not hold, so that the fuzzer reports the input.
inline void require(bool holds, const char *property) {
  if (holds) return;
  std::cerr << "violated property: " << property << '\n';
  std::abort();
}

/// Splits the input at the separators into one or more pieces.
inline std::vector<std::string_view> piecesOf(std::string_view input, char separator = '\n') {
  std::vector<std::string_view> pieces;
  for (;;) {
    const auto end = std::min(input.find(separator), input.size());
    pieces.push_back(input.substr(0, end));
    if (end == input.size()) return pieces;
    input.remove_prefix(end + 1);
  }
}

/// Splits the input into `count` lines. The last line holds the rest of the input, with its line
/// breaks. Missing lines are empty.
template <std::size_t count>
std::array<std::string_view, count> linesOf(std::string_view input) {
  std::array<std::string_view, count> lines;
  for (std::size_t line = 0; line + 1 < count; ++line) {
    const auto end = std::min(input.find('\n'), input.size());
    lines[line] = input.substr(0, end);
    input.remove_prefix(std::min(end + 1, input.size()));
  }
  lines[count - 1] = input;
  return lines;
}

}  // namespace orvel::fuzz
