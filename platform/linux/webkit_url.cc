#include "platform/linux/webkit_url.h"

#include <glib.h>

namespace orvel {

namespace {

/// Where the part begins that may hold escapes: behind the authority, else
/// behind the scheme.
std::size_t afterAuthority(std::string_view address) {
  const auto colon = address.find(':');
  if (colon == std::string_view::npos) return 0;
  if (address.substr(colon + 1, 2) != "//") return colon + 1;
  const auto end = address.find_first_of("/?#", colon + 3);
  return end == std::string_view::npos ? address.size() : end;
}

/// Whether a "%" at the place begins an escape.
bool isEscape(std::string_view text, std::size_t at) {
  return at + 2 < text.size() && g_ascii_isxdigit(text[at + 1]) && g_ascii_isxdigit(text[at + 2]);
}

bool isAllowed(char character) {
  constexpr std::string_view marks = "-._~!$&'()*+,;=:@/?";
  return g_ascii_isalnum(character) || marks.find(character) != std::string_view::npos;
}

void appendEscape(std::string &text, char character) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  text += {'%', digits[byte >> 4U], digits[byte & 15U]};
}

}  // namespace

std::string withEscapes(std::string_view address) {
  std::size_t at = afterAuthority(address);
  std::string result(address.substr(0, at));
  result.reserve(address.size());
  bool inFragment = false;
  for (; at < address.size(); ++at) {
    const char character = address[at];
    const bool opensFragment = character == '#' && !inFragment;
    inFragment = inFragment || opensFragment;
    if (isAllowed(character) || opensFragment || (character == '%' && isEscape(address, at))) {
      result += character;
    } else {
      appendEscape(result, character);
    }
  }
  return result;
}

std::optional<Url> urlFromWebKit(const char *address) {
  if (address == nullptr) return std::nullopt;
  return Url::parse(withEscapes(address));
}

}  // namespace orvel
