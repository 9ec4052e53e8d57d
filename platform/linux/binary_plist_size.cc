#include "platform/linux/binary_plist_size.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>

namespace orvel {

namespace {

constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;
constexpr int deepest = 64;
// What is long weighs as much as that many that are short.
constexpr std::size_t bytesOfANode = 16;

// Kinds of objects.
constexpr std::size_t data = 0x4;
constexpr std::size_t asciiText = 0x5;
constexpr std::size_t wideText = 0x6;
constexpr std::size_t array = 0xA;
constexpr std::size_t set = 0xC;
constexpr std::size_t dictionary = 0xD;

/// Reads as much of the format (described in CoreFoundation's CFBinaryPList.c)
/// as says which object holds which.
class Measure {
 public:
  Measure(std::string_view bytes, std::size_t mostNodes) : bytes_(bytes), mostNodes_(mostNodes) {}

  bool passes() {
    if (bytes_.size() < headerSize + trailerSize) return false;
    const std::size_t trailer = bytes_.size() - trailerSize;
    offsetSize_ = number(trailer + 6, 1).value_or(0);
    referenceSize_ = number(trailer + 7, 1).value_or(0);
    objectCount_ = number(trailer + 8, 8).value_or(0);
    const std::size_t top = number(trailer + 16, 8).value_or(0);
    offsetTable_ = number(trailer + 24, 8).value_or(0);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8 ||
        offsetTable_ > trailer || objectCount_ > (trailer - offsetTable_) / offsetSize_) {
      return false;
    }
    return nodesOf(top, 0).has_value();
  }

 private:
  /// A big-endian number; nothing beyond the end of the bytes.
  std::optional<std::size_t> number(std::size_t at, std::size_t size) const {
    if (at > bytes_.size() || size > bytes_.size() - at) return std::nullopt;
    std::uint64_t value = 0;
    for (const char byte : bytes_.substr(at, size)) {
      value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
  }

  struct Object {
    std::size_t kind;
    /// Of characters, members or pairs, for the kinds that have such.
    std::size_t count;
    std::size_t contents;
  };

  std::optional<Object> find(std::size_t object) const {
    if (object >= objectCount_) return std::nullopt;
    const auto offset = number(offsetTable_ + object * offsetSize_, offsetSize_);
    const auto marker = offset ? number(*offset, 1) : std::nullopt;
    if (!marker) return std::nullopt;
    Object found{*marker >> 4U, *marker & 0xFU, *offset + 1};
    if (found.kind < data || found.count != 0xF) return found;
    // The count follows as an integer of its own.
    const auto integer = number(found.contents, 1);
    if (!integer || *integer >> 4U != 1 || (*integer & 0xFU) > 3) return std::nullopt;
    const std::size_t size = std::size_t{1} << (*integer & 0xFU);
    const auto count = number(found.contents + 1, size);
    if (!count || *count > bytes_.size()) return std::nullopt;
    return Object{found.kind, *count, found.contents + 1 + size};
  }

  /// Whether an object is a text without NUL.
  bool isKey(std::size_t object) const {
    const auto text = find(object);
    if (!text || (text->kind != asciiText && text->kind != wideText)) return false;
    const std::size_t width = text->kind == asciiText ? 1 : 2;
    for (std::size_t index = 0; index < text->count; ++index) {
      if (number(text->contents + index * width, width).value_or(0) == 0) return false;
    }
    return true;
  }

  /// How many nodes an object comes to; nothing when that is too many or a key
  /// is none.
  std::optional<std::size_t> nodesOf(std::size_t object, int depth) {
    if (depth > deepest) return std::nullopt;
    if (const auto known = nodes_.find(object); known != nodes_.end()) return known->second;
    const auto found = find(object);
    if (!found) return std::nullopt;

    std::size_t nodes = 1;
    if (found->kind >= data && found->kind <= wideText) nodes += found->count / bytesOfANode;
    const bool isDictionary = found->kind == dictionary;
    if (isDictionary || found->kind == array || found->kind == set) {
      const std::size_t references = isDictionary ? 2 * found->count : found->count;
      for (std::size_t index = 0; index < references; ++index) {
        const auto reference = number(found->contents + index * referenceSize_, referenceSize_);
        if (!reference || (isDictionary && index < found->count && !isKey(*reference))) {
          return std::nullopt;
        }
        const auto child = nodesOf(*reference, depth + 1);
        if (!child || *child > mostNodes_ - nodes) return std::nullopt;
        nodes += *child;
      }
    }
    nodes_[object] = nodes;
    return nodes;
  }

  const std::string_view bytes_;
  const std::size_t mostNodes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::size_t objectCount_ = 0;
  std::size_t offsetTable_ = 0;
  std::map<std::size_t, std::size_t> nodes_;
};

}  // namespace

bool isBinaryPlist(std::string_view bytes) { return bytes.starts_with("bplist"); }

bool binaryPlistIsSmall(std::string_view bytes, std::size_t mostNodes) {
  return Measure(bytes, mostNodes).passes();
}

}  // namespace orvel
