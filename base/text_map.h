#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Texts by key.
using TextMap = std::map<std::string, std::string, std::less<>>;

/// Returns the text with this key, or nullopt when the key is missing. Any thread.
inline std::optional<std::string> find(const TextMap &texts, std::string_view key) {
  const auto found = texts.find(key);
  if (found == texts.end()) return std::nullopt;
  return found->second;
}

}  // namespace orvel
