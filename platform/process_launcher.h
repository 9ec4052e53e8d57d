#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/file_handle.h"

namespace orvel {

/// A child process of this application. Destroying the object does not end the process.
/// Any thread.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;

  virtual bool isRunning() const = 0;
  /// Returns the exit code, or the signal number when a signal ended the process. Zero
  /// while the process runs, and -1 when other code of this process has reaped it.
  virtual int terminationStatus() const = 0;
  /// Sends SIGTERM. Without effect after the process has ended.
  virtual void terminate() = 0;
  /// Sends SIGKILL. Without effect after the process has ended: no signal ever reaches
  /// another process that reuses the process ID.
  virtual void kill() = 0;
  /// Blocks until the process has ended.
  virtual void waitUntilExit() = 0;
};

/// The source or destination of a child's standard stream.
struct StandardStream {
  /// `null` is the null device, /dev/null.
  enum class Kind { inherited, null, handle };
  Kind kind = Kind::inherited;
  /// Set for Kind::handle only. The launcher keeps no reference to it after the launch, so that
  /// the reader of a pipe gets the end of the file.
  std::shared_ptr<FileHandle> handle;
};

/// The description of a child process to launch. A plain value.
struct LaunchRequest {
  /// The path. PATH is not searched.
  std::string executable;
  /// Without the name of the executable (argv[0]).
  std::vector<std::string> arguments;
  /// Empty for the working directory of this process.
  std::string workingDirectory;
  /// Variables that are set in addition to the application's environment or replace
  /// variables in it.
  std::map<std::string, std::string> environmentChanges;
  StandardStream standardOutput;
  StandardStream standardError;
  /// Asks the system to send the child SIGTERM when the application's process ends in any
  /// way, including a crash and SIGKILL. Linux supports this (PR_SET_PDEATHSIG) and may repeat
  /// the signal: threads end one by one, and each may in turn become the child's parent. macOS
  /// ignores the flag. The processes that the child starts get no signal.
  bool endsWithParent = false;
  /// Called once after the process has ended, when isRunning() is already false. Runs on
  /// a thread that is never the main thread. May be empty.
  std::function<void(const std::shared_ptr<ChildProcess> &)> terminationHandler;
};

/// A launched process, or null and the system's description of the error.
struct LaunchResult {
  std::shared_ptr<ChildProcess> process;
  std::string error;
};

/// Starts child processes. They inherit only the three standard descriptors and start
/// with an empty signal mask and default signal dispositions.
class ProcessLauncher {
 public:
  virtual ~ProcessLauncher() = default;

  /// Launches a process and returns without waiting for its end. Any thread.
  virtual LaunchResult launch(const LaunchRequest &request) = 0;
};

}  // namespace orvel
