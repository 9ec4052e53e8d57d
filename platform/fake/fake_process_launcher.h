#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/fake/fake_scheduler.h"
#include "platform/process_launcher.h"

namespace orvel {

/// The behavior of a fake child process.
struct FakeProcessScript {
  /// When present, the launch fails with this description.
  std::optional<std::string> launchError{};
  /// Written to standard output at the start.
  std::string output{};
  /// The run time. Absent for a process that does not end by itself.
  std::optional<std::chrono::milliseconds> exitsAfter{};
  /// The exit code, or the number of a signal, of a process that ends by itself.
  int status = 0;
  /// The delay between SIGTERM and the exit. Absent for a process that ignores SIGTERM.
  std::optional<std::chrono::milliseconds> exitsAfterSigterm = std::chrono::milliseconds(0);
};

/// A child process that follows a script.
class FakeChildProcess final : public ChildProcess,
                               public std::enable_shared_from_this<FakeChildProcess> {
 public:
  FakeChildProcess(FakeScheduler &scheduler, std::string name, FakeProcessScript script,
                   LaunchRequest request);

  bool isRunning() const override { return running_; }
  int terminationStatus() const override { return running_ ? 0 : status_; }
  void terminate() override;
  void kill() override;
  void waitUntilExit() override;

  /// Ends the process with a status and schedules the termination handler.
  void exit(int status);
  /// Schedules the exit, if the script has one.
  void start();

  /// Called inside terminate().
  std::function<void()> onTerminate;
  const std::string name;
  const LaunchRequest request;

 private:
  void exitAfter(std::chrono::milliseconds delay, int status);

  FakeScheduler &scheduler_;
  const FakeProcessScript script_;
  bool running_ = true;
  int status_ = 0;
};

/// Launches scripted processes. A script is found by the command line of a shell command
/// (zsh -c) and by the path of any other program.
class FakeProcessLauncher final : public ProcessLauncher {
 public:
  explicit FakeProcessLauncher(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  LaunchResult launch(const LaunchRequest &request) override;

  /// Sets the scripts of the next launches of a program, in order. The last script
  /// repeats. Without a script, a shell command prints nothing and exits at once, and a
  /// program runs until SIGTERM.
  void setScripts(const std::string &program, std::vector<FakeProcessScript> scripts);
  /// Sets the outputs of the next runs of a shell command, in order. The last output
  /// repeats.
  void setShellOutputs(const std::string &commandLine, const std::vector<std::string> &outputs);

  /// Called before each program starts. Lets a test change the disk as the program would.
  std::function<void(const LaunchRequest &)> onLaunch;
  /// All processes other than shell commands, oldest first.
  std::vector<std::shared_ptr<FakeChildProcess>> launched;

 private:
  FakeProcessScript next(const std::string &program, bool isShell);

  FakeScheduler &scheduler_;
  std::map<std::string, std::deque<FakeProcessScript>> scripts_;
};

}  // namespace orvel
