// Versions are ordered, whatever their texts are.

#include "tests/fuzz/property.h"
#include "update/version.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace orvel;
  const auto [one, other] = fuzz::halvesOf(fuzz::bytesOf(data, size));
  fuzz::require(!nieuwer(one, one), "no version is later than itself");
  fuzz::require(!nieuwer(other, other), "no version is later than itself");
  const bool later = nieuwer(one, other);
  const bool earlier = nieuwer(other, one);
  fuzz::require(!later || !earlier, "two versions are not each later than the other");
  // A version is later than none, equal to it or earlier, and so are its equals.
  if (!later && !earlier) {
    fuzz::require(nieuwer(one, "") == nieuwer(other, ""), "equal versions are equally late");
    fuzz::require(nieuwer("1.2", one) == nieuwer("1.2", other), "equal versions are equally early");
  }
  if (later && nieuwer(other, "1.2")) {
    fuzz::require(nieuwer(one, "1.2"), "later than what is later is later");
  }
  return 0;
}
