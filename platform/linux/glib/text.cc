#include "base/text.h"

#include <glib.h>
#include <pango/pango-break.h>

#include <algorithm>

#include "platform/linux/glib/utf8.h"

namespace orvel {

namespace {

/// Returns the positions of the full stops that are a grapheme cluster of their own
/// (UAX 29, by Pango).
std::vector<std::size_t> loneFullStops(std::string_view text) {
  std::vector<std::size_t> stops;
  const bool isAscii = std::all_of(
      text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
  // In ASCII every full stop is a cluster of its own. Bytes that are not UTF-8 have no
  // clusters, so all their full stops count.
  if (isAscii || !isUtf8(text)) {
    for (std::size_t at = 0; at < text.size(); ++at) {
      if (text[at] == '.') stops.push_back(at);
    }
    return stops;
  }

  // Pango stops at a NUL. U+0001 has the same break rules.
  std::string sanitized(text);
  std::replace(sanitized.begin(), sanitized.end(), '\0', '\x01');
  const auto size = static_cast<int>(sanitized.size());
  std::vector<PangoLogAttr> attributes(
      static_cast<std::size_t>(g_utf8_strlen(sanitized.data(), size)) + 1);
  pango_default_break(sanitized.data(), size, nullptr, attributes.data(),
                      static_cast<int>(attributes.size()));
  // A cursor position is a boundary between two clusters.
  auto attribute = attributes.begin();
  for (const char *at = sanitized.data(); attribute + 1 != attributes.end();
       at = g_utf8_find_next_char(at, nullptr), ++attribute) {
    if (*at == '.' && attribute->is_cursor_position && attribute[1].is_cursor_position) {
      stops.push_back(static_cast<std::size_t>(at - sanitized.data()));
    }
  }
  return stops;
}

/// Returns whether a character is in Foundation's whitespaceAndNewlineCharacterSet.
/// g_unichar_isspace lacks U+000B and U+0085.
bool isBlank(gunichar character) {
  constexpr gunichar nextLine = 0x85;
  return g_unichar_isspace(character) || character == '\v' || character == nextLine;
}

}  // namespace

std::optional<std::string> trimmedText(std::string_view bytes) {
  if (!isUtf8(bytes)) return std::nullopt;
  const char *begin = bytes.data();
  const char *end = begin + bytes.size();
  while (begin < end && isBlank(g_utf8_get_char(begin))) {
    begin += g_utf8_skip[static_cast<unsigned char>(*begin)];
  }
  while (begin < end) {
    const char *last = g_utf8_prev_char(end);
    if (!isBlank(g_utf8_get_char(last))) break;
    end = last;
  }
  return std::string(begin, end);
}

std::vector<std::string> splitAtFullStops(std::string_view text) {
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  const auto endPiece = [&](std::size_t end) {
    if (end > begin) pieces.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  };
  for (const std::size_t stop : loneFullStops(text)) endPiece(stop);
  endPiece(text.size());
  return pieces;
}

}  // namespace orvel
