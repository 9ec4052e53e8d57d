#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/process_launcher.h"

namespace orvel {

/// Everything that a child process starts with, worked out before it starts:
/// between fork and exec a child may not allocate memory.
class SpawnPlan {
 public:
  /// What a standard stream of the child is when it has no source.
  static constexpr int nullDevice = -1;

  /// `environment` is all of the child's environment; the request's changes to
  /// it are ignored. The request must outlive the plan.
  SpawnPlan(const LaunchRequest &request, const std::map<std::string, std::string> &environment);

  /// Zero, or the system's error number when there is no such child.
  int error() const { return error_; }

  const char *executable() const { return words_.front().c_str(); }
  /// The arguments and the environment as exec takes them, ended by a null.
  char *const *arguments() const { return argumentPointers_.data(); }
  char *const *environment() const { return variablePointers_.data(); }
  /// Empty for the directory of this process.
  const std::string &workingDirectory() const { return workingDirectory_; }
  /// For each standard stream the descriptor of this process that it is a copy
  /// of, or nullDevice. The descriptor is above the standard three unless it is
  /// the stream's own number, so that the copies may be made in any order.
  const std::array<int, 3> &streams() const { return streams_; }

 private:
  int sourceOf(const StandardStream &stream, int number);
  int sourceOf(const FileHandle &handle);

  std::vector<std::string> words_;
  std::vector<std::string> variables_;
  std::vector<char *> argumentPointers_;
  std::vector<char *> variablePointers_;
  std::string workingDirectory_;
  std::vector<std::unique_ptr<FileHandle>> copies_;
  std::array<int, 3> streams_{};
  int error_ = 0;
};

}  // namespace orvel
