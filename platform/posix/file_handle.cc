#include "base/file_handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace orvel {

FileHandle::~FileHandle() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::shared_ptr<FileHandle> FileHandle::createPrivate(const std::string &path) {
  constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, ownerOnly);
  if (descriptor < 0) return nullptr;
  // open(2) does not change the mode of an existing file and subtracts the umask for a new one.
  // A device or FIFO keeps its mode, because other programs use it too.
  struct stat status;
  if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) ::fchmod(descriptor, ownerOnly);
  return std::make_shared<FileHandle>(descriptor);
}

std::string FileHandle::readToEnd() {
  std::string bytes;
  std::array<char, 16384> block;
  for (;;) {
    const ssize_t count = ::read(descriptor_, block.data(), block.size());
    if (count > 0) {
      bytes.append(block.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return bytes;
    }
  }
}

bool FileHandle::write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor_, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

std::optional<Pipe> Pipe::create() {
  std::array<int, 2> ends;
#if defined(__linux__)
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
#else
  // macOS has no pipe2. Even a child that another thread spawns before the flags are set does not
  // inherit the pipe: spawn.cc closes all descriptors except the standard streams.
  if (::pipe(ends.data()) != 0) return std::nullopt;
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
#endif
  return Pipe{std::make_shared<FileHandle>(ends[0]), std::make_shared<FileHandle>(ends[1])};
}

}  // namespace orvel
