#include "platform/linux/files/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "base/file_handle.h"

namespace orvel {

FileBytes readFileBytes(const std::string &path, std::size_t limit) {
  FileBytes result;
  const FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (file.descriptor() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) result.state = FileBytes::State::missing;
    return result;
  }
  struct stat status;
  if (::fstat(file.descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) return result;

  std::string bytes;
  std::array<char, 16'384> block;
  for (;;) {
    const ssize_t count = ::read(file.descriptor(), block.data(), block.size());
    if (count == 0) return {FileBytes::State::read, std::move(bytes)};
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 || static_cast<std::size_t>(count) > limit - bytes.size()) return result;
    bytes.append(block.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace orvel
