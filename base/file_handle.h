#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// An open file descriptor that is closed with its last owner. No child
/// process inherits it unless it is handed over as a standard stream.
class FileHandle {
 public:
  /// Takes ownership of a descriptor.
  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
  ~FileHandle();
  FileHandle(const FileHandle &) = delete;
  FileHandle &operator=(const FileHandle &) = delete;

  int descriptor() const { return descriptor_; }

  /// Opens an existing file for writing at its start. Null when it cannot be
  /// opened. Any thread.
  static std::shared_ptr<FileHandle> forWriting(const std::string &path);

  /// Reads to the end of the stream, waiting for it. What was read before an
  /// error is returned.
  std::string readToEnd();
  /// Writes all of a text. False when that fails.
  bool write(std::string_view text);

 private:
  int descriptor_;
};

/// The two ends of a pipe.
struct Pipe {
  std::shared_ptr<FileHandle> reading;
  std::shared_ptr<FileHandle> writing;

  /// Nothing when the process is out of descriptors. Any thread.
  static std::optional<Pipe> create();
};

}  // namespace orvel
