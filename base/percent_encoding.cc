#include "base/percent_encoding.h"

#include "base/ascii.h"

namespace orvel {

namespace {

/// Appends a part of a URL. Percent-encodes all characters except complete escapes, the
/// given delimiters and those that are allowed in every part.
void append(std::string &result, std::string_view part, std::string_view delimiters) {
  constexpr std::string_view allowedInEveryPart = "-._~!$&'()*+,;=:@";
  constexpr std::string_view digits = "0123456789ABCDEF";
  for (std::size_t at = 0; at < part.size(); ++at) {
    const char character = part[at];
    if (isAsciiAlphanumeric(character) ||
        allowedInEveryPart.find(character) != std::string_view::npos ||
        delimiters.find(character) != std::string_view::npos || hasPercentEscapeAt(part, at)) {
      result += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      result += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
  }
}

/// Removes and returns the text before position `end`, or the whole text when `end` is npos.
std::string_view takeFront(std::string_view &text, std::size_t end) {
  const std::string_view front = text.substr(0, end);
  text.remove_prefix(front.size());
  return front;
}

}  // namespace

bool hasPercentEscapeAt(std::string_view text, std::size_t position) {
  return position + 2 < text.size() && text[position] == '%' && isHexDigit(text[position + 1]) &&
         isHexDigit(text[position + 2]);
}

std::string percentEncoded(std::string_view reference) {
  std::string result;
  // A ":" before all other delimiters ends a scheme.
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

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      decoded += text[at];
      continue;
    }
    if (!hasPercentEscapeAt(text, at)) return std::nullopt;
    decoded += static_cast<char>(16 * hexDigitValue(text[at + 1]) + hexDigitValue(text[at + 2]));
    at += 2;
  }
  return decoded;
}

}  // namespace orvel
