#include "platform/linux/glib/utf8.h"

#include <glib.h>

namespace orvel {

bool isUtf8(std::string_view bytes) {
  const char *invalid = nullptr;
  // g_utf8_validate_len rejects NUL, although it is valid UTF-8.
  while (!g_utf8_validate_len(bytes.data(), bytes.size(), &invalid)) {
    if (*invalid != '\0') return false;
    bytes.remove_prefix(static_cast<std::size_t>(invalid + 1 - bytes.data()));
  }
  return true;
}

}  // namespace orvel
