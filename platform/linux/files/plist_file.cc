#include "platform/linux/files/plist_file.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "platform/linux/files/file_bytes.h"

namespace orvel {

namespace {

// Nesting depths of elements.
constexpr int plistDepth = 1;
constexpr int dictionaryDepth = 2;
constexpr int entryDepth = 3;

/// A GMarkup handler that collects the string entries of the top-level dictionary of an
/// XML property list. Skips elements that are nested in an entry.
class PlistReader {
 public:
  /// Handles a start tag. Returns false when the element is not allowed here.
  bool start(std::string_view element) {
    ++depth_;
    if (depth_ == plistDepth) return element == "plist";
    if (depth_ == dictionaryDepth) return element == "dict" && !std::exchange(hasDictionary_, true);
    // Elements in a key or a scalar are invalid.
    if (depth_ > entryDepth) return isContainer_;
    constexpr std::array<std::string_view, 7> scalars{"string", "data", "date", "integer",
                                                      "real",   "true", "false"};
    isContainer_ = element == "dict" || element == "array";
    text_.clear();
    // Keys and values alternate.
    if (element == "key") return !key_;
    return key_ &&
           (isContainer_ || std::find(scalars.begin(), scalars.end(), element) != scalars.end());
  }

  /// Handles an end tag. Returns false when the dictionary ends with a key without a value.
  bool end(std::string_view element) {
    const int depth = depth_--;
    if (depth == dictionaryDepth) return !key_;
    if (depth != entryDepth) return true;
    if (element == "key") {
      key_ = std::move(text_);
      return true;
    }
    // The last of two entries with the same key counts.
    texts_.erase(*key_);
    if (element == "string") texts_.emplace(*key_, std::move(text_));
    key_.reset();
    return true;
  }

  /// Handles character data. Returns false when it is not allowed here.
  bool add(std::string_view text) {
    if (depth_ == entryDepth) text_ += text;
    return depth_ >= entryDepth || text.find_first_not_of(" \t\r\n") == std::string_view::npos;
  }

  std::optional<TextMap> texts() const {
    return hasDictionary_ ? std::optional(texts_) : std::nullopt;
  }

 private:
  int depth_ = 0;
  bool hasDictionary_ = false;
  /// Whether the current entry is a dictionary or an array.
  bool isContainer_ = false;
  /// The character data of the current key or entry.
  std::string text_;
  /// The key whose value has not ended yet.
  std::optional<std::string> key_;
  TextMap texts_;
};

/// Sets the error that makes GMarkup stop, unless the input is valid so far.
void failUnless(bool isValid, GError **error) {
  if (isValid) return;
  g_set_error_literal(error, G_MARKUP_ERROR, G_MARKUP_ERROR_INVALID_CONTENT, "not a property list");
}

const GMarkupParser callbacks{
    .start_element =
        [](GMarkupParseContext *, const char *element, const char **, const char **,
           gpointer reader, GError **error) {
          failUnless(static_cast<PlistReader *>(reader)->start(element), error);
        },
    .end_element =
        [](GMarkupParseContext *, const char *element, gpointer reader, GError **error) {
          failUnless(static_cast<PlistReader *>(reader)->end(element), error);
        },
    .text =
        [](GMarkupParseContext *, const char *text, gsize size, gpointer reader, GError **error) {
          failUnless(static_cast<PlistReader *>(reader)->add({text, size}), error);
        },
    .passthrough = nullptr,
    .error = nullptr};

}  // namespace

std::optional<TextMap> parsePlistTexts(const std::string &bytes) {
  // XML does not allow NUL, but GMarkup accepts it.
  if (bytes.size() > maxPropertyListSize || bytes.find('\0') != std::string::npos) {
    return std::nullopt;
  }
  PlistReader reader;
  const std::unique_ptr<GMarkupParseContext, void (*)(GMarkupParseContext *)> context(
      g_markup_parse_context_new(&callbacks, G_MARKUP_TREAT_CDATA_AS_TEXT, &reader, nullptr),
      g_markup_parse_context_free);
  const auto size = static_cast<gssize>(bytes.size());
  if (!g_markup_parse_context_parse(context.get(), bytes.data(), size, nullptr) ||
      !g_markup_parse_context_end_parse(context.get(), nullptr)) {
    return std::nullopt;
  }
  return reader.texts();
}

std::optional<TextMap> readPlistTexts(const std::string &path) {
  const FileBytes file = readFileBytes(path, maxPropertyListSize);
  if (file.state != FileBytes::State::read) return std::nullopt;
  return parsePlistTexts(file.bytes);
}

}  // namespace orvel
