#pragma once

#include <map>
#include <string>

#include "platform/process_launcher.h"

namespace orvel {

/// The environment of this process as it stands now. Call it before other
/// threads change the environment.
std::map<std::string, std::string> processEnvironment();

/// Starts each child process on a thread of its own, which then waits for that
/// child and for no other.
class PosixProcessLauncher final : public ProcessLauncher {
 public:
  /// Children get this environment, with the changes of each request: the
  /// application may change its own for drawing. Takes back an inherited
  /// decision to ignore SIGCHLD, under which the system keeps no exit status.
  explicit PosixProcessLauncher(std::map<std::string, std::string> environment);

  /// The error is the path that is at fault, ": " and the system's description
  /// in the language of the process.
  LaunchResult launch(const LaunchRequest &request) override;

 private:
  const std::map<std::string, std::string> environment_;
};

}  // namespace orvel
