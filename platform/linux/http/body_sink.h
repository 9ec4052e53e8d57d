#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/files/download_file.h"

namespace orvel {

/// Receives the body of a response, block by block.
class BodySink {
 public:
  virtual ~BodySink() = default;

  /// Whether the sink can store a body. False when its file could not be created.
  virtual bool isReady() const = 0;
  /// Stores a block. Returns false when it cannot; the body has then failed.
  virtual bool append(std::string_view block) = 0;
};

/// Keeps a body in memory, up to a limit in bytes.
class TextSink final : public BodySink {
 public:
  explicit TextSink(std::size_t limit) : limit_(limit) {}

  bool isReady() const override { return true; }
  bool append(std::string_view block) override {
    if (block.size() > limit_ - text_.size()) return false;
    text_ += block;
    return true;
  }
  std::string take() { return std::exchange(text_, {}); }

 private:
  const std::size_t limit_;
  std::string text_;
};

/// Keeps a body in a file.
class FileSink final : public BodySink {
 public:
  explicit FileSink(const std::vector<std::string> &folders) : file_(folders) {}

  bool isReady() const override { return file_.isOpen(); }
  bool append(std::string_view block) override { return file_.write(block); }
  std::string path() const { return file_.path(); }

 private:
  DownloadFile file_;
};

}  // namespace orvel
