#include "update/command_line.h"

namespace orvel {

std::optional<std::string> commandLine(
    std::string_view line, const std::vector<std::pair<std::string_view, std::string>> &paths) {
  std::string filled;
  while (!line.empty()) {
    const auto begin = line.find('{');
    filled += line.substr(0, begin);
    if (begin == std::string_view::npos) break;
    const auto end = line.find('}', begin);
    const std::string_view word = line.substr(begin + 1, end - begin - 1);
    for (const auto &[name, path] : paths) {
      if (name != word) continue;
      if (path.find('\'') != std::string::npos) return std::nullopt;
      filled += path;
    }
    line.remove_prefix(end + 1);
  }
  return filled;
}

}  // namespace orvel
