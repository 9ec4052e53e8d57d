#include "base/percent_encoding.h"

namespace orvel {

namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isHexDigit(char character) {
  return isDigit(character) || (character >= 'a' && character <= 'f') ||
         (character >= 'A' && character <= 'F');
}

/// Whether the "%" at a position begins an escape.
bool isEscape(std::string_view text, std::size_t at) {
  return at + 2 < text.size() && isHexDigit(text[at + 1]) && isHexDigit(text[at + 2]);
}

/// Appends a part of a URL. Percent-encodes all characters except the given
/// delimiters and those that are allowed in every part.
void append(std::string &result, std::string_view part, std::string_view delimiters) {
  constexpr std::string_view marks = "-._~!$&'()*+,;=:@";
  constexpr std::string_view digits = "0123456789ABCDEF";
  for (std::size_t at = 0; at < part.size(); ++at) {
    const char character = part[at];
    if (isLetter(character) || isDigit(character) ||
        marks.find(character) != std::string_view::npos ||
        delimiters.find(character) != std::string_view::npos ||
        (character == '%' && isEscape(part, at))) {
      result += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      result += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
  }
}

std::string_view takeFront(std::string_view &text, std::size_t end) {
  const std::string_view front = text.substr(0, end);
  text.remove_prefix(front.size());
  return front;
}

}  // namespace

std::string percentEncoded(std::string_view reference) {
  std::string result;
  result.reserve(reference.size());
  const auto first = reference.find_first_of(":/?#");
  if (first != std::string_view::npos && reference[first] == ':') {
    result += takeFront(reference, first + 1);
  }
  if (reference.starts_with("//")) {
    result += takeFront(reference, 2);
    append(result, takeFront(reference, reference.find_first_of("/?#")), "[]");
  }
  append(result, takeFront(reference, reference.find('#')), "/?");
  if (!reference.empty()) {
    result += takeFront(reference, 1);
    append(result, reference, "/?");
  }
  return result;
}

}  // namespace orvel
