#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/file_handle.h"

namespace orvel {

/// A child process of ours. Alive as long as anybody holds it; dropping it
/// does not end the process. All operations may be called from any thread.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;

  virtual bool isRunning() const = 0;
  /// The exit code, or the signal number when a signal ended the process.
  /// Zero while it runs.
  virtual int terminationStatus() const = 0;
  /// Asks the process to end (SIGTERM). Without effect once it has ended.
  virtual void terminate() = 0;
  /// Ends the process without asking (SIGKILL). Without effect once it has
  /// ended: the signal never reaches a process that was given the same number.
  virtual void kill() = 0;
  /// Blocks until the process has ended.
  virtual void waitUntilExit() = 0;
};

/// Where a standard stream of a child goes.
struct StandardStream {
  enum class Kind { inherited, null, handle };
  Kind kind = Kind::inherited;
  /// Set for Kind::handle only. The launcher keeps no reference to it.
  std::shared_ptr<FileHandle> handle;
};

/// What to launch. A plain value.
struct LaunchRequest {
  std::string executable;
  /// Without the name of the executable itself.
  std::vector<std::string> arguments;
  /// Inherited when absent or empty.
  std::optional<std::string> workingDirectory;
  /// Variables that replace or join those of the application's environment;
  /// all others pass unchanged.
  std::map<std::string, std::string> environmentChanges;
  StandardStream standardOutput;
  StandardStream standardError;
  /// Asks the system to send the child SIGTERM, once or more often, when the
  /// application's process ends in any way, including a crash and SIGKILL. Linux
  /// supports this (PR_SET_PDEATHSIG); macOS does not, and ignores the flag. The
  /// processes that the child starts get no signal.
  bool endsWithParent = false;
  /// Told once that the process has ended, on a thread that is never the main
  /// thread; isRunning() is false by then. May be empty.
  std::function<void(const std::shared_ptr<ChildProcess> &)> terminationHandler;
};

/// A launched process, or the system's description of why there is none.
struct LaunchResult {
  std::shared_ptr<ChildProcess> process;
  std::string error;
};

/// Starts child processes. They inherit no descriptor but the three standard
/// ones, and start with an empty signal mask and default dispositions.
class ProcessLauncher {
 public:
  virtual ~ProcessLauncher() = default;

  /// Launches and returns without waiting. Any thread.
  virtual LaunchResult launch(const LaunchRequest &request) = 0;
};

}  // namespace orvel
