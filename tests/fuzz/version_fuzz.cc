// Property: versions have a strict weak order, which is that of their numbers.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/fuzz/fuzz_target.h"
#include "update/version.h"

namespace orvel::fuzz {

namespace {

/// Returns the number of a piece of a version, as the C library parses it, or 0 when the piece is
/// not a number of 64 bits.
std::int64_t numberOf(const std::string &piece) {
  // std::strtoll skips leading white space.
  if (piece.find_first_not_of("+-0123456789") != std::string::npos) return 0;
  errno = 0;
  char *end = nullptr;
  const std::int64_t number = std::strtoll(piece.c_str(), &end, 10);
  return errno == 0 && *end == '\0' ? number : 0;
}

/// Returns whether one version is later than the other, computed in another way than by nieuwer()
/// (Dutch for "newer"), the function under test. The versions must be ASCII, because nieuwer() does
/// not split at a full stop with a combining mark.
bool isLater(std::string_view one, std::string_view other) {
  const auto numbersOf = [](std::string_view version) {
    std::vector<std::int64_t> numbers;
    for (const std::string_view piece : piecesOf(version, '.')) {
      if (!piece.empty()) numbers.push_back(numberOf(std::string(piece)));
    }
    return numbers;
  };
  auto numbers = numbersOf(one);
  auto others = numbersOf(other);
  const auto length = std::max(numbers.size(), others.size());
  numbers.resize(length);
  others.resize(length);
  return numbers > others;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

void requireOrder(std::string_view one, std::string_view other, std::string_view third) {
  const bool later = nieuwer(one, other);
  const bool earlier = nieuwer(other, one);
  require(!later || !earlier, "two versions are not each later than the other");
  require(!later || !nieuwer(other, third) || nieuwer(one, third), "the order is transitive");
  if (!later && !earlier) {
    require(nieuwer(one, third) == nieuwer(other, third),
            "of two equal versions both are later than a third, or neither");
    require(nieuwer(third, one) == nieuwer(third, other),
            "of two equal versions both are earlier than a third, or neither");
  }
  if (isAscii(one) && isAscii(other)) {
    require(later == isLater(one, other), "the order is that of the numbers");
  }
}

}  // namespace

void testInput(std::string_view input) {
  const auto [one, other, third] = linesOf<3>(input);
  require(!nieuwer(one, one), "no version is later than itself");
  requireOrder(one, other, third);
  requireOrder(other, third, one);
  requireOrder(third, one, other);
  // Input seldom has three well-formed versions.
  requireOrder(one, other, "1.2");
}

}  // namespace orvel::fuzz
