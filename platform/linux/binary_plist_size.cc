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

  /// How many nodes an object comes to; nothing when that is too many.
  std::optional<std::size_t> nodesOf(std::size_t object, int depth) {
    if (object >= objectCount_ || depth > deepest) return std::nullopt;
    if (const auto known = nodes_.find(object); known != nodes_.end()) return known->second;

    const auto offset = number(offsetTable_ + object * offsetSize_, offsetSize_);
    const auto marker = offset ? number(*offset, 1) : std::nullopt;
    if (!marker) return std::nullopt;
    const std::size_t kind = *marker >> 4U;
    const bool isDictionary = kind == 0xD;
    std::size_t nodes = 1;
    if (isDictionary || kind == 0xA || kind == 0xC) {
      std::size_t count = *marker & 0xFU;
      std::size_t at = *offset + 1;
      if (count == 0xF) {
        // The count follows as an integer of its own.
        const auto integer = number(at, 1);
        if (!integer || *integer >> 4U != 1 || (*integer & 0xFU) > 3) return std::nullopt;
        const std::size_t size = std::size_t{1} << (*integer & 0xFU);
        const auto longCount = number(at + 1, size);
        if (!longCount || *longCount > mostNodes_) return std::nullopt;
        count = *longCount;
        at += 1 + size;
      }
      const std::size_t references = isDictionary ? 2 * count : count;
      for (std::size_t index = 0; index < references; ++index) {
        const auto reference = number(at + index * referenceSize_, referenceSize_);
        const auto child = reference ? nodesOf(*reference, depth + 1) : std::nullopt;
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
