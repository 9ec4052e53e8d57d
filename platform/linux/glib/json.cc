#include "base/json.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace orvel {

namespace {

// The limit of Foundation's JSONSerialization, the parser of the macOS edition.
constexpr int maxNestingDepth = 512;

/// A SAX handler that keeps only the strings of the top-level object. No document is
/// built, so memory use is bounded by the input. A handler that returns false ends the
/// parsing.
class TextCollector final : public nlohmann::json_sax<nlohmann::json> {
 public:
  bool null() override { return handleOtherValue(); }
  bool boolean(bool) override { return handleOtherValue(); }
  bool number_integer(number_integer_t) override { return handleOtherValue(); }
  bool number_unsigned(number_unsigned_t) override { return handleOtherValue(); }
  bool number_float(number_float_t, const string_t &) override { return handleOtherValue(); }
  bool binary(binary_t &) override { return handleOtherValue(); }

  bool string(string_t &text) override {
    if (depth_ == 1) texts_.insert_or_assign(name_, std::move(text));
    return depth_ > 0;
  }
  bool key(string_t &name) override {
    if (depth_ == 1) name_ = std::move(name);
    return true;
  }

  bool start_object(std::size_t) override { return open(); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return depth_ > 0 && open(); }
  bool end_array() override { return close(); }

  bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &) override {
    return false;
  }

  TextMap takeTexts() { return std::move(texts_); }

 private:
  /// Handles a value that is not a string. Removes an earlier string with the same name, because
  /// the last of two members counts. Returns false at the top level, which must be an object.
  bool handleOtherValue() {
    if (depth_ == 1) texts_.erase(name_);
    return depth_ > 0;
  }
  /// Enters an object or an array. Returns false when it is nested too deeply.
  bool open() {
    // The result is ignored: it is false for the top-level object, which is valid.
    handleOtherValue();
    return ++depth_ <= maxNestingDepth;
  }
  bool close() {
    --depth_;
    return true;
  }

  int depth_ = 0;
  std::string name_;
  TextMap texts_;
};

}  // namespace

std::optional<TextMap> parseJsonTexts(std::string_view bytes) {
  // nlohmann::json treats a NUL as the end of the input.
  if (bytes.find('\0') != std::string_view::npos) return std::nullopt;
  TextCollector collector;
  if (!nlohmann::json::sax_parse(bytes.begin(), bytes.end(), &collector)) return std::nullopt;
  return collector.takeTexts();
}

}  // namespace orvel
