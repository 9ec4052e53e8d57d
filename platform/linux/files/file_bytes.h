#pragma once

#include <cstddef>
#include <string>

namespace orvel {

/// What lies at a path.
struct FileBytes {
  enum class State { read, missing, unreadable };
  State state = State::unreadable;
  std::string bytes;
};

/// Reads a whole file, following links. Unreadable is also what is no regular
/// file or longer than the limit (in bytes), so that neither a pipe nor a
/// runaway file can hold the reader up. Any thread.
FileBytes readFileBytes(const std::string &path, std::size_t limit);

}  // namespace orvel
