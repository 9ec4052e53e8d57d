#pragma once

#include <cstddef>
#include <string>

namespace orvel {

/// The result of reading a file.
struct FileBytes {
  enum class State { read, missing, unreadable };
  State state = State::unreadable;
  /// Empty unless the state is `read`.
  std::string bytes;
};

/// Reads a whole file and follows symbolic links. A file that is not regular (such as a pipe)
/// or longer than the limit (in bytes) is `unreadable`, so that the read always ends. Any
/// thread; blocks on the disk.
FileBytes readFileBytes(const std::string &path, std::size_t limit);

}  // namespace orvel
