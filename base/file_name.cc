#include "base/file_name.h"

#include <algorithm>
#include <array>

namespace orvel {

namespace {

/// Foundation's list of characters that no extension contains: the space, and the marks,
/// embeddings, overrides and isolates of the Unicode bidirectional algorithm (UAX 9).
/// Written as escapes, so that they cannot reorder this source text.
// NOLINTBEGIN(misc-misleading-bidirectional)
constexpr std::array<std::string_view, 13> forbiddenInExtension{
    " ",      "\u061C", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C",
    "\u202D", "\u202E", "\u2066", "\u2067", "\u2068", "\u2069"};
// NOLINTEND(misc-misleading-bidirectional)

}  // namespace

FileName splitFileName(std::string_view name) {
  const auto dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return {name, ""};
  const std::string_view extension = name.substr(dot);
  const bool isForbidden = std::any_of(forbiddenInExtension.begin(), forbiddenInExtension.end(),
                                       [&](std::string_view forbidden) {
                                         return extension.find(forbidden) != std::string_view::npos;
                                       });
  if (isForbidden) return {name, ""};
  return {name.substr(0, dot), extension};
}

}  // namespace orvel
