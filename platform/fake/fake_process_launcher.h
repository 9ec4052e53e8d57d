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

/// What a scripted child process does.
struct FakeProcessScript {
  /// Instead of a process: the launch fails with this description.
  std::optional<std::string> launchError{};
  /// Written to its standard output at once.
  std::string output{};
  /// When it ends by itself; never when absent.
  std::optional<std::chrono::milliseconds> exitsAfter{};
  /// Its exit code, or the number of the signal that it dies of by itself.
  int status = 0;
  /// How long it lives on after a request to end; absent means that it is deaf.
  std::optional<std::chrono::milliseconds> exitsAfterSigterm = std::chrono::milliseconds(0);
};

/// A scripted child process. A test may end it at any time.
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

  /// Ends it with a status, and tells the termination handler.
  void exit(int status);
  /// Sets its script in motion.
  void start();

  /// For a test that looks on at the moment of terminate().
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

/// Launches scripted processes. Commands of the shell (zsh -c) are scripted by
/// their command line, all other programs by their path.
class FakeProcessLauncher final : public ProcessLauncher {
 public:
  explicit FakeProcessLauncher(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  LaunchResult launch(const LaunchRequest &request) override;

  /// What the next launches of a program do, in turn; the last one given
  /// holds for all that follow. Without any, a shell command prints nothing
  /// and ends, and a program runs until it is asked to end.
  void script(const std::string &program, std::vector<FakeProcessScript> scripts);
  /// What a shell command prints, in turn.
  void scriptShell(const std::string &commandLine, const std::vector<std::string> &outputs);

  /// For a test that does to the disk what a program would do. Called before
  /// the program starts.
  std::function<void(const LaunchRequest &)> onLaunch;
  /// Every process launched from a path (not by the shell), oldest first.
  std::vector<std::shared_ptr<FakeChildProcess>> launched;

 private:
  FakeProcessScript next(const std::string &program, bool isShell);

  FakeScheduler &scheduler_;
  std::map<std::string, std::deque<FakeProcessScript>> scripts_;
};

}  // namespace orvel
