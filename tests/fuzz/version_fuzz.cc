// Property: versions have a strict weak order.

#include <algorithm>
#include <string>

#include "tests/fuzz/property.h"
#include "update/version.h"

namespace {

using namespace orvel;

/// The number of a version component with 19 digits, as many as any 64-bit number has, so
/// that the digits of numbers of one sign compare like the numbers.
struct Number {
  bool isNegative = false;
  std::string digits = std::string(19, '0');
};

Number numberOf(std::string_view piece) {
  const bool isSigned = piece.starts_with('-') || piece.starts_with('+');
  std::string_view digits = piece.substr(isSigned ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return {};
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  if (digits.size() > 19) return {};
  Number number{piece.starts_with('-'), std::string(19 - digits.size(), '0')};
  number.digits += digits;
  if (number.digits > (number.isNegative ? "9223372036854775808" : "9223372036854775807"))
    return {};
  // Negative zero equals zero.
  if (digits.empty()) number.isNegative = false;
  return number;
}

int compared(const Number &one, const Number &other) {
  if (one.isNegative != other.isNegative) return one.isNegative ? -1 : 1;
  const int digits = one.digits.compare(other.digits);
  return one.isNegative ? -digits : digits;
}

/// A second implementation of the comparison, for ASCII texts.
bool isLater(std::string_view one, std::string_view other) {
  auto pieces = fuzz::piecesOf(one, '.');
  auto others = fuzz::piecesOf(other, '.');
  std::erase(pieces, "");
  std::erase(others, "");
  for (std::size_t at = 0; at < std::max(pieces.size(), others.size()); ++at) {
    const int result = compared(at < pieces.size() ? numberOf(pieces[at]) : Number(),
                                at < others.size() ? numberOf(others[at]) : Number());
    if (result != 0) return result > 0;
  }
  return false;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

void requireOrder(std::string_view one, std::string_view other, std::string_view third) {
  const bool later = nieuwer(one, other);
  const bool earlier = nieuwer(other, one);
  fuzz::require(!later || !earlier, "two versions are not each later than the other");
  if (later && nieuwer(other, third)) {
    fuzz::require(nieuwer(one, third), "the order is transitive");
  }
  if (!later && !earlier) {
    fuzz::require(nieuwer(one, third) == nieuwer(other, third),
                  "equal versions compare alike to later ones");
    fuzz::require(nieuwer(third, one) == nieuwer(third, other),
                  "equal versions compare alike to earlier ones");
  }
  if (isAscii(one) && isAscii(other)) {
    fuzz::require(later == isLater(one, other), "the order is that of the numbers");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const auto [one, other, third] = fuzz::linesOf<3>(fuzz::bytesOf(data, size));
  fuzz::require(!nieuwer(one, one), "no version is later than itself");
  requireOrder(one, other, third);
  requireOrder(other, third, one);
  requireOrder(third, one, other);
  requireOrder(one, other, "1.2");
  return 0;
}
