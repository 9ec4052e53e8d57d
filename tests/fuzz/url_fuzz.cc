// An address that was resolved is one.

#include "platform/url.h"
#include "tests/fuzz/property.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace orvel;
  const auto [address, reference] = fuzz::halvesOf(fuzz::bytesOf(data, size));
  const auto base = Url::parse(address);
  const auto parsed = Url::parse(reference);
  if (!base || base->scheme.empty() || !parsed) return 0;
  const auto resolved = Url::resolve(reference, *base);
  fuzz::require(resolved.has_value(), "every reference can be resolved");
  fuzz::require(!resolved->scheme.empty(), "what is resolved is absolute");
  fuzz::require(resolved == Url::parse(resolved->absoluteString),
                "the parts are those of the text");
  if (parsed->scheme.empty()) {
    fuzz::require(resolved->scheme == base->scheme, "a relative reference keeps the scheme");
    if (!reference.starts_with("//")) {
      fuzz::require(resolved->host == base->host, "a path keeps the host");
    }
  } else {
    fuzz::require(resolved->host == parsed->host, "an absolute reference keeps its own host");
  }
  return 0;
}
