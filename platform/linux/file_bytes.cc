#include "platform/linux/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/file_handle.h"

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

  // One byte more than allowed tells a file that is too long.
  std::string bytes(limit + 1, '\0');
  std::size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t count = ::read(file.descriptor(), bytes.data() + size, bytes.size() - size);
    if (count == 0) break;
    if (count > 0) {
      size += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return result;
    }
  }
  if (size > limit) return result;
  bytes.resize(size);
  return {FileBytes::State::read, std::move(bytes)};
}

}  // namespace orvel
