#include "update/command_line.h"

namespace orvel {

std::optional<std::string> singleQuoted(std::string_view path) {
  if (path.find('\'') != std::string_view::npos) return std::nullopt;
  return "'" + std::string(path) + "'";
}

std::optional<std::string> commandLine(const ShellCommand &command,
                                       const std::vector<std::string> &paths) {
  std::string line(command.before);
  std::string_view separator;
  for (const std::string &path : paths) {
    const auto quoted = singleQuoted(path);
    if (!quoted) return std::nullopt;
    line.append(separator).append(*quoted);
    separator = " ";
  }
  return line.append(command.after);
}

}  // namespace orvel
