#include "platform/json.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace orvel {

namespace {

// The deepest that Foundation reads as well.
constexpr int deepestNesting = 512;

/// Reads from the front of what is left, by the grammar of RFC 8259.
class JsonReader {
 public:
  explicit JsonReader(std::string_view bytes) : rest_(bytes) {}

  std::optional<JsonTexts> readAll() {
    JsonTexts texts;
    skipSpace();
    if (!readObject(&texts, 1)) return std::nullopt;
    skipSpace();
    if (!rest_.empty()) return std::nullopt;
    return texts;
  }

 private:
  bool take(std::string_view token) {
    if (!rest_.starts_with(token)) return false;
    rest_.remove_prefix(token.size());
    return true;
  }
  void skipSpace() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
  }

  /// Keeps the members that are texts where they are wanted.
  bool readObject(JsonTexts *texts, int depth) {
    if (!take("{")) return false;
    skipSpace();
    if (take("}")) return true;
    do {
      skipSpace();
      const auto name = readText();
      skipSpace();
      if (!name || !take(":")) return false;
      skipSpace();
      std::optional<std::string> text;
      const bool isText = rest_.starts_with('"');
      if (isText ? !(text = readText()) : !readValue(depth)) return false;
      if (texts != nullptr && text) texts->insert_or_assign(*name, std::move(*text));
      if (texts != nullptr && !isText) texts->erase(*name);
      skipSpace();
    } while (take(","));
    return take("}");
  }

  bool readArray(int depth) {
    if (!take("[")) return false;
    skipSpace();
    if (take("]")) return true;
    do {
      skipSpace();
      if (!readValue(depth)) return false;
      skipSpace();
    } while (take(","));
    return take("]");
  }

  /// A value inside so many objects and arrays.
  bool readValue(int depth) {
    if (rest_.starts_with('{')) return depth < deepestNesting && readObject(nullptr, depth + 1);
    if (rest_.starts_with('[')) return depth < deepestNesting && readArray(depth + 1);
    if (rest_.starts_with('"')) return readText().has_value();
    return take("true") || take("false") || take("null") || readNumber();
  }

  bool readDigits() {
    const auto count = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
    rest_.remove_prefix(count);
    return count > 0;
  }

  bool readNumber() {
    take("-");
    if (!take("0") && !readDigits()) return false;
    if (take(".") && !readDigits()) return false;
    if (!take("e") && !take("E")) return true;
    if (!take("+")) take("-");
    return readDigits();
  }

  std::optional<std::string> readText() {
    if (!take("\"")) return std::nullopt;
    std::string text;
    for (;;) {
      const auto end = std::find_if(rest_.begin(), rest_.end(), [](char character) {
        return character == '"' || character == '\\' || static_cast<unsigned char>(character) < ' ';
      });
      text.append(rest_.begin(), end);
      rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
      if (take("\"")) return text;
      // The end, or a control character, which has to be escaped.
      if (!take("\\") || !readEscape(text)) return std::nullopt;
    }
  }

  bool readEscape(std::string &text) {
    constexpr std::string_view escapes = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    if (take("u")) return readCharacter(text);
    if (rest_.empty()) return false;
    const auto which = escapes.find(rest_.front());
    if (which == std::string_view::npos) return false;
    text += meanings[which];
    rest_.remove_prefix(1);
    return true;
  }

  std::optional<std::uint32_t> readCodeUnit() {
    if (rest_.size() < 4) return std::nullopt;
    std::uint32_t unit = 0;
    for (const char digit : rest_.substr(0, 4)) {
      if (!g_ascii_isxdigit(digit)) return std::nullopt;
      unit = unit << 4U | static_cast<std::uint32_t>(g_ascii_xdigit_value(digit));
    }
    rest_.remove_prefix(4);
    return unit;
  }

  /// Half of a surrogate pair is no character.
  bool readCharacter(std::string &text) {
    auto character = readCodeUnit();
    if (!character || (*character & 0xFC00U) == 0xDC00U) return false;
    if ((*character & 0xFC00U) == 0xD800U) {
      const auto low = take("\\u") ? readCodeUnit() : std::nullopt;
      if (!low || (*low & 0xFC00U) != 0xDC00U) return false;
      character = 0x10000U + ((*character & 0x3FFU) << 10U) + (*low & 0x3FFU);
    }
    std::array<char, 6> utf8;
    const int size = g_unichar_to_utf8(*character, utf8.data());
    text.append(utf8.data(), static_cast<std::size_t>(size));
    return true;
  }

  std::string_view rest_;
};

}  // namespace

std::optional<JsonTexts> parseJsonTexts(std::string_view bytes) {
  if (!g_utf8_validate_len(bytes.data(), bytes.size(), nullptr)) return std::nullopt;
  return JsonReader(bytes).readAll();
}

}  // namespace orvel
