#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/files/temporary_file.h"

namespace orvel {

/// A destination for the body of a response, which arrives block by block. One thread at a
/// time.
class BodySink {
 public:
  virtual ~BodySink() = default;

  /// Returns false when the sink cannot store a body, because its file could not be created.
  virtual bool isReady() const = 0;
  /// Appends a block. Returns false when the block exceeds a limit or cannot be written.
  virtual bool append(std::string_view block) = 0;
};

/// A body in memory, up to a limit in bytes.
class TextSink final : public BodySink {
 public:
  explicit TextSink(std::size_t limit) : limit_(limit) {}

  bool isReady() const override { return true; }
  bool append(std::string_view block) override {
    if (block.size() > limit_ - text_.size()) return false;
    text_ += block;
    return true;
  }
  /// Returns the body and leaves the sink empty.
  std::string take() { return std::exchange(text_, {}); }

 private:
  const std::size_t limit_;
  std::string text_;
};

/// A body in a temporary file, which is removed with this object unless moveFile has moved it.
class FileSink final : public BodySink {
 public:
  /// Creates the file in the first folder where that is possible.
  explicit FileSink(const std::vector<std::string> &folders) : file_(folders) {}

  bool isReady() const override { return file_.isOpen(); }
  bool append(std::string_view block) override { return file_.write(block); }
  std::string path() const { return file_.path(); }

 private:
  TemporaryFile file_;
};

}  // namespace orvel
