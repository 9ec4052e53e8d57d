#include "update/version.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

#include "base/text.h"

namespace orvel {

namespace {

std::int64_t numberOf(std::string_view piece) {
  // std::from_chars accepts a leading "-" but not a "+".
  if (piece.starts_with('+')) {
    piece.remove_prefix(1);
    if (piece.starts_with('-')) return 0;
  }
  std::int64_t number = 0;
  const char *end = piece.data() + piece.size();
  const auto [stop, error] = std::from_chars(piece.data(), end, number);
  return error == std::errc() && stop == end ? number : 0;
}

std::vector<std::int64_t> numbersOf(std::string_view version) {
  std::vector<std::int64_t> numbers;
  for (const std::string &piece : splitAtFullStops(version)) numbers.push_back(numberOf(piece));
  return numbers;
}

}  // namespace

bool nieuwer(std::string_view kandidaat, std::string_view dan) {
  std::vector<std::int64_t> candidate = numbersOf(kandidaat);
  std::vector<std::int64_t> reference = numbersOf(dan);
  const std::size_t length = std::max(candidate.size(), reference.size());
  candidate.resize(length);
  reference.resize(length);
  return candidate > reference;
}

}  // namespace orvel
