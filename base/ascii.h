#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace orvel {

// ASCII character classes. Unlike those of the C library, they do not depend on the
// locale and accept every char value. Any thread.

constexpr bool isAsciiDigit(char character) { return character >= '0' && character <= '9'; }

constexpr bool isAsciiLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

constexpr bool isAsciiAlphanumeric(char character) {
  return isAsciiDigit(character) || isAsciiLetter(character);
}

constexpr bool isHexDigit(char character) {
  return isAsciiDigit(character) || (character >= 'a' && character <= 'f') ||
         (character >= 'A' && character <= 'F');
}

/// Returns the value of a hexadecimal digit. The character must be one.
constexpr int hexDigitValue(char digit) {
  if (isAsciiDigit(digit)) return digit - '0';
  return 10 + (digit >= 'a' ? digit - 'a' : digit - 'A');
}

/// Returns the bytes as lower-case hexadecimal digits, two for each byte.
inline std::string hexadecimal(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += digits[value >> 4U];
    text += digits[value & 0xFU];
  }
  return text;
}

/// Returns whether two texts are equal except for the case of ASCII letters.
constexpr bool equalIgnoringAsciiCase(std::string_view one, std::string_view other) {
  const auto lowerCase = [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
  };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

}  // namespace orvel
