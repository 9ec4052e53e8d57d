#include "platform/text.h"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>

namespace orvel {

namespace {

/// Where the user-perceived characters of a text begin and end (UAX 29).
class CharacterBoundaries {
 public:
  explicit CharacterBoundaries(std::string_view text) : isAscii_(isAscii(text)) {
    if (isAscii_) return;
    UErrorCode error = U_ZERO_ERROR;
    text_.reset(utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &error));
    breaks_.reset(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &error));
    if (text_ && breaks_) ubrk_setUText(breaks_.get(), text_.get(), &error);
  }

  bool at(std::size_t position) const {
    if (isAscii_ || !breaks_) return true;
    return ubrk_isBoundary(breaks_.get(), static_cast<int32_t>(position)) != 0;
  }

 private:
  /// No full stop of an ASCII text is part of a larger character.
  static bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
  }

  struct TextRelease {
    void operator()(UText *text) const { utext_close(text); }
  };
  struct BreaksRelease {
    void operator()(UBreakIterator *breaks) const { ubrk_close(breaks); }
  };

  const bool isAscii_;
  std::unique_ptr<UText, TextRelease> text_;
  std::unique_ptr<UBreakIterator, BreaksRelease> breaks_;
};

}  // namespace

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

std::vector<std::string> splitAtFullStops(std::string_view text) {
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  const auto endPiece = [&](std::size_t end) {
    if (end > begin) pieces.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  };
  const CharacterBoundaries boundaries(text);
  for (std::size_t stop = text.find('.'); stop != std::string_view::npos;
       stop = text.find('.', stop + 1)) {
    if (boundaries.at(stop) && boundaries.at(stop + 1)) endPiece(stop);
  }
  endPiece(text.size());
  return pieces;
}

}  // namespace orvel
