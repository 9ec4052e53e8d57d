#include "platform/text.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace orvel {

std::optional<std::string> trimmedText(std::string_view bytes) {
  const auto *data = reinterpret_cast<const uint8_t *>(bytes.data());
  const auto size = static_cast<int64_t>(bytes.size());
  int64_t begin = size;
  int64_t end = 0;
  for (int64_t position = 0; position < size;) {
    const int64_t start = position;
    UChar32 character = 0;
    U8_NEXT(data, position, size, character);
    if (character < 0) return std::nullopt;
    if (u_isUWhiteSpace(character)) continue;
    begin = std::min(begin, start);
    end = position;
  }
  if (begin >= end) return std::string();
  return std::string(
      bytes.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)));
}

}  // namespace orvel
