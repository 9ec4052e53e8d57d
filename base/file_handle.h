#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// An open file descriptor, closed on destruction. Child processes inherit it only as a
/// standard stream.
class FileHandle {
 public:
  /// Takes ownership of a descriptor. A negative one, from a failed open, is not closed.
  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
  ~FileHandle();
  FileHandle(const FileHandle &) = delete;
  FileHandle &operator=(const FileHandle &) = delete;

  int descriptor() const { return descriptor_; }

  /// Opens a new or truncated file for writing and sets its mode to 0600 whatever the
  /// umask. Devices and FIFOs keep their mode; the call blocks until a FIFO has a reader.
  /// Returns null when the file cannot be opened. Any thread.
  static std::shared_ptr<FileHandle> createPrivate(const std::string &path);

  /// Reads until end of file, which may block. On an error, returns the bytes read so
  /// far.
  std::string readToEnd();
  /// Writes a text completely. Returns false on failure, after which a part of it may
  /// have been written.
  bool write(std::string_view text);

 private:
  int descriptor_;
};

/// The two ends of a pipe.
struct Pipe {
  std::shared_ptr<FileHandle> reading;
  std::shared_ptr<FileHandle> writing;

  /// Creates a pipe. Returns nullopt when the process has no free descriptors. Any
  /// thread.
  static std::optional<Pipe> create();
};

}  // namespace orvel
