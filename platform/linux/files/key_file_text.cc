#include "platform/linux/files/key_file_text.h"

#include <glib.h>

#include "base/ascii.h"

namespace orvel {

namespace {

/// A backslash and a letter that stand for a character, as in the Desktop Entry format
/// (freedesktop.org, section 4).
struct Escape {
  char letter;
  char character;
};
constexpr Escape escapes[] = {{'s', ' '}, {'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'\\', '\\'}};

/// Returns "\xHH" for a byte. The Desktop Entry format has no such escape; only this
/// application reads it.
std::string hexEscape(char byte) { return "\\x" + hexadecimal({&byte, 1}); }

/// Appends a character, escaped if necessary. A space needs an escape only at an edge of the
/// value, where GKeyFile would remove it.
void appendCharacter(std::string &value, char character, bool isAtEdge) {
  for (const Escape &escape : escapes) {
    if (character != escape.character || (character == ' ' && !isAtEdge)) continue;
    value += '\\';
    value += escape.letter;
    return;
  }
  if (g_ascii_iscntrl(character)) {
    value += hexEscape(character);
  } else {
    value += character;
  }
}

}  // namespace

std::string keyFileValue(std::string_view text) {
  std::string value;
  for (std::size_t at = 0; at < text.size();) {
    const char *end = nullptr;
    const bool isValid = g_utf8_validate_len(text.data() + at, text.size() - at, &end);
    const auto validEnd = static_cast<std::size_t>(end - text.data());
    for (; at < validEnd; ++at) {
      appendCharacter(value, text[at], at == 0 || at + 1 == text.size());
    }
    if (!isValid) value += hexEscape(text[at++]);
  }
  return value;
}

std::optional<std::string> textOfKeyFileValue(std::string_view value) {
  std::string text;
  for (std::size_t at = 0; at < value.size(); ++at) {
    if (value[at] != '\\') {
      text += value[at];
      continue;
    }
    if (++at == value.size()) return std::nullopt;
    if (value[at] == 'x') {
      if (at + 2 >= value.size() || !isHexDigit(value[at + 1]) || !isHexDigit(value[at + 2])) {
        return std::nullopt;
      }
      text += static_cast<char>(16 * hexDigitValue(value[at + 1]) + hexDigitValue(value[at + 2]));
      at += 2;
      continue;
    }
    const Escape *found = nullptr;
    for (const Escape &escape : escapes) {
      if (escape.letter == value[at]) found = &escape;
    }
    if (found == nullptr) return std::nullopt;
    text += found->character;
  }
  return text;
}

}  // namespace orvel
