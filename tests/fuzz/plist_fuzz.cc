// What a property list says can be written and read again, and none from an
// archive brings anybody down.

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/linux/plist_file.h"
#include "platform/text.h"
#include "tests/fuzz/property.h"

namespace {

using namespace orvel;

std::string written(const PlistTexts &texts, bool isBinary) {
  const std::unique_ptr<void, void (*)(void *)> list(plist_new_dict(), plist_free);
  for (const auto &[key, text] : texts) {
    plist_dict_set_item(list.get(), key.c_str(), plist_new_string(text.c_str()));
  }
  char *bytes = nullptr;
  std::uint32_t size = 0;
  (isBinary ? plist_to_bin : plist_to_xml)(list.get(), &bytes, &size);
  const std::unique_ptr<char, void (*)(void *)> kept(bytes, std::free);
  return {bytes, size};
}

/// A list of the same texts can be made only of texts without NUL; libplist
/// takes other bytes than UTF-8 from XML, but writes none.
bool canBeWritten(const PlistTexts &texts) {
  std::size_t size = 0;
  for (const auto &[key, text] : texts) {
    if (!trimmedText(key) || !trimmedText(text)) return false;
    if (text.find('\0') != std::string::npos) return false;
    size += key.size() + text.size();
  }
  return size < 10'000;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string bytes(fuzz::bytesOf(data, size));
  const auto texts = parsePlistTexts(bytes);
  fuzz::require(parsePlistTexts(bytes) == texts, "the same bytes are the same list");
  if (!texts || !canBeWritten(*texts)) return 0;
  fuzz::require(parsePlistTexts(written(*texts, true)) == texts,
                "a binary list is read as written");
  fuzz::require(parsePlistTexts(written(*texts, false)) == texts, "an XML list is read as written");
  return 0;
}
