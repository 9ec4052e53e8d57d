#pragma once

#include <sys/xattr.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace orvel {

/// Runs a shell command. Throws when its exit status is not 0.
inline void runCommand(const std::string &command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error(command + " failed");
}

/// Returns the quarantine attribute of a file, or the empty string without one.
inline std::string quarantineOf(const std::string &file) {
  constexpr const char *name = "com.apple.quarantine";
  std::string value(1024, '\0');
  const auto length = ::getxattr(file.c_str(), name, value.data(), value.size(), 0, 0);
  value.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return value;
}

}  // namespace orvel
