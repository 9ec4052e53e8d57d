// Property lists from an archive bring nobody down.

#include <string>

#include "platform/linux/plist_file.h"
#include "tests/fuzz/property.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace orvel;
  const std::string bytes(fuzz::bytesOf(data, size));
  const auto texts = parsePlistTexts(bytes);
  fuzz::require(parsePlistTexts(bytes) == texts, "the same bytes are the same list");
  return 0;
}
