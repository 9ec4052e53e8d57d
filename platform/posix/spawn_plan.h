#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/process_launcher.h"

namespace orvel {

/// The arguments, environment, directory and streams of a child process, prepared
/// before the fork: between fork and exec the child must not allocate memory.
class SpawnPlan {
 public:
  /// Stands for /dev/null in `streams`.
  static constexpr int nullDevice = -1;

  /// `environment` is the whole environment of the child: the caller has applied the changes in
  /// the request to it. The request must outlive the plan, which uses its handles' descriptors.
  SpawnPlan(const LaunchRequest &request, const std::map<std::string, std::string> &environment);

  /// Zero, or an errno value when the request is invalid or a descriptor could not be
  /// duplicated.
  int error() const { return error_; }

  const char *executable() const { return words_.front().c_str(); }
  /// The arguments and the environment as null-terminated arrays for exec.
  char *const *arguments() const { return argumentPointers_.data(); }
  char *const *environment() const { return variablePointers_.data(); }
  /// Empty for the working directory of this process.
  const std::string &workingDirectory() const { return workingDirectory_; }
  /// The source descriptor of each standard stream, or nullDevice. A source is either
  /// the stream's own number or above STDERR_FILENO, so that the streams can be set in
  /// any order.
  const std::array<int, 3> &streams() const { return streams_; }

 private:
  /// Returns the source of the standard stream with this number, as in `streams`. Sets
  /// `error_` when a handle is missing or cannot be duplicated.
  int sourceOf(const StandardStream &stream, int number);
  /// Returns the descriptor of the handle, or of a duplicate above STDERR_FILENO.
  int sourceOf(const FileHandle &handle);

  /// The path of the executable, which is also argv[0], and the arguments.
  std::vector<std::string> words_;
  /// "NAME=value" for each variable.
  std::vector<std::string> variables_;
  std::vector<char *> argumentPointers_;
  std::vector<char *> variablePointers_;
  std::string workingDirectory_;
  /// Duplicates of handles whose descriptors are the numbers of standard streams.
  std::vector<std::unique_ptr<FileHandle>> copies_;
  std::array<int, 3> streams_{};
  int error_ = 0;
};

}  // namespace orvel
