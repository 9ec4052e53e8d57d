#include "platform/linux/plist_file.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "platform/linux/binary_plist_size.h"
#include "platform/linux/file_bytes.h"

namespace orvel {

namespace {

// libplist frees a list by recursion: the limit bounds the depth as well.
constexpr std::size_t longestFile = 128'000;
constexpr std::size_t mostNodesRead = 20'000;

struct PlistRelease {
  void operator()(void *node) const { plist_free(node); }
};
struct MemoryRelease {
  void operator()(void *memory) const { std::free(memory); }
};

std::optional<std::string> textOf(plist_t node) {
  if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t size = 0;
  const char *text = plist_get_string_ptr(node, &size);
  if (text == nullptr) return std::nullopt;
  return std::string(text, static_cast<std::size_t>(size));
}

}  // namespace

std::optional<PlistTexts> parsePlistTexts(const std::string &bytes) {
  if (bytes.size() > longestFile) return std::nullopt;
  const auto size = static_cast<std::uint32_t>(bytes.size());
  plist_t parsed = nullptr;
  if (!isBinaryPlist(bytes)) {
    plist_from_xml(bytes.data(), size, &parsed);
  } else if (binaryPlistIsSmall(bytes, mostNodesRead)) {
    plist_from_bin(bytes.data(), size, &parsed);
  }
  const std::unique_ptr<void, PlistRelease> root(parsed);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;

  PlistTexts texts;
  plist_dict_iter started = nullptr;
  plist_dict_new_iter(root.get(), &started);
  const std::unique_ptr<void, MemoryRelease> iterator(started);
  for (;;) {
    char *name = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(root.get(), iterator.get(), &name, &value);
    const std::unique_ptr<char, MemoryRelease> key(name);
    if (!key) return texts;
    if (auto text = textOf(value)) texts.insert_or_assign(key.get(), std::move(*text));
  }
}

std::optional<PlistTexts> readPlistTexts(const std::string &path) {
  const FileBytes file = readFileBytes(path, longestFile);
  if (file.state != FileBytes::State::read) return std::nullopt;
  return parsePlistTexts(file.bytes);
}

}  // namespace orvel
