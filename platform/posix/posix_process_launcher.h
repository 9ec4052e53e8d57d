#pragma once

#include <map>
#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// Returns the current environment of this process. Not thread-safe against changes of
/// the environment.
std::map<std::string, std::string> processEnvironment();

/// Returns the description of an errno value by the C++ library (std::generic_category).
std::string systemErrorDescription(int error);

/// Starts each child process on a new thread, which then waits for that child only.
class PosixProcessLauncher final : public ProcessLauncher {
 public:
  /// Each child gets this environment with the changes of its request. The application's own
  /// environment may also have variables for WebKit, which children must not inherit. If this
  /// process ignores SIGCHLD, restores the default, because the system would otherwise discard
  /// exit statuses. `describeError` describes an errno value to the user; it is
  /// called on any thread.
  explicit PosixProcessLauncher(std::map<std::string, std::string> environment,
                                std::string (*describeError)(int) = systemErrorDescription);

  /// The error text is the path that caused the error, ": " and the description.
  LaunchResult launch(const LaunchRequest &request) override;

 private:
  const std::map<std::string, std::string> environment_;
  std::string (*const describeError_)(int);
};

}  // namespace orvel
