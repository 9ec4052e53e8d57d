#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <utility>

namespace orvel::fuzz {

/// Ends the process, so that the fuzzer keeps the input, where a property does
/// not hold.
inline void require(bool holds, const char *property) {
  if (holds) return;
  std::cerr << "does not hold: " << property << std::endl;
  std::abort();
}

inline std::string_view bytesOf(const std::uint8_t *data, std::size_t size) {
  return {reinterpret_cast<const char *>(data), size};
}

/// The input up to its first line feed, and all after it.
inline std::pair<std::string_view, std::string_view> halvesOf(std::string_view input) {
  const auto end = input.find('\n');
  if (end == std::string_view::npos) return {input, {}};
  return {input.substr(0, end), input.substr(end + 1)};
}

}  // namespace orvel::fuzz
