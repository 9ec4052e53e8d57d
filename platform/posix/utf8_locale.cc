#include "platform/posix/utf8_locale.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace orvel {

namespace {

// A UTF-8 locale that exists on every installation.
#if defined(__APPLE__)
constexpr const char *utf8Locale = "en_US.UTF-8";
#else
constexpr const char *utf8Locale = "C.UTF-8";
#endif

// An empty variable counts as unset (POSIX, Environment Variables).
bool isSet(const char *variable) {
  const char *value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

void ensureUtf8Locale() {
  constexpr std::array<const char *, 3> variables{"LC_ALL", "LC_CTYPE", "LANG"};
  if (std::any_of(variables.begin(), variables.end(), isSet)) return;
  ::setenv("LC_CTYPE", utf8Locale, 1);
}

}  // namespace orvel
