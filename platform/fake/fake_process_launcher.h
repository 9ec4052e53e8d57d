#pragma once

#include <chrono>
#include <csignal>
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

/// The behaviour of a fake child process.
struct FakeProcessScript {
  /// When present, the launch fails with this description.
  std::optional<std::string> launchError{};
  /// Written to standard output at the start.
  std::string output{};
  /// The run time. Absent for a process that does not end by itself.
  std::optional<std::chrono::milliseconds> exitsAfter{};
  /// ChildProcess::terminationStatus() of a process that ends by itself: the exit code or the
  /// number of a signal.
  int status = 0;
  /// The delay between SIGTERM and the exit. Absent for a process that ignores SIGTERM.
  std::optional<std::chrono::milliseconds> exitsAfterSigterm = std::chrono::milliseconds(0);
};

/// A child process that follows a script.
class FakeChildProcess final : public ChildProcess,
                               public std::enable_shared_from_this<FakeChildProcess> {
 public:
  FakeChildProcess(FakeScheduler &scheduler, std::string processName, FakeProcessScript script,
                   LaunchRequest launchRequest)
      : name(std::move(processName)),
        request(std::move(launchRequest)),
        scheduler_(scheduler),
        script_(std::move(script)) {}

  bool isRunning() const override { return running_; }
  int terminationStatus() const override { return running_ ? 0 : status_; }
  void terminate() override {
    scheduler_.record().add("terminate " + name);
    if (onTerminate) onTerminate();
    if (script_.exitsAfterSigterm) exitAfter(*script_.exitsAfterSigterm, SIGTERM);
  }
  void kill() override {
    scheduler_.record().add("kill " + name);
    exitAfter(std::chrono::milliseconds(0), SIGKILL);
  }
  void waitUntilExit() override {
    scheduler_.block(std::nullopt, [this] { return !running_; });
  }

  /// Ends the process with a status and schedules the termination handler.
  void exit(int status) {
    if (!running_) return;
    running_ = false;
    status_ = status;
    if (!request.terminationHandler) return;
    scheduler_.schedule(FakeScheduler::Thread::background, std::chrono::milliseconds(0),
                        [self = shared_from_this()] { self->request.terminationHandler(self); });
  }
  /// Schedules the exit of a process that ends by itself.
  void start() {
    if (script_.exitsAfter) exitAfter(*script_.exitsAfter, script_.status);
  }

  /// Called inside terminate().
  std::function<void()> onTerminate;
  const std::string name;
  const LaunchRequest request;

 private:
  void exitAfter(std::chrono::milliseconds delay, int status) {
    scheduler_.schedule(FakeScheduler::Thread::background, delay,
                        [self = shared_from_this(), status] { self->exit(status); });
  }

  FakeScheduler &scheduler_;
  const FakeProcessScript script_;
  bool running_ = true;
  int status_ = 0;
};

/// Launches scripted processes. Finds the script of a shell command (zsh -c) by its command line,
/// and that of any other program by its path.
class FakeProcessLauncher final : public ProcessLauncher, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  LaunchResult launch(const LaunchRequest &request) override {
    const bool isShell = request.executable == "/bin/zsh" && request.arguments.size() == 2 &&
                         request.arguments[0] == "-c";
    const std::string &program = isShell ? request.arguments[1] : request.executable;
    std::string call = (isShell ? "sh " : "launch ") + program;
    if (!isShell) {
      for (const std::string &argument : request.arguments) call += " " + argument;
    }
    scheduler_.record().add(call);
    const FakeProcessScript script = takeScript(program, isShell);
    if (script.launchError) return {nullptr, *script.launchError};
    if (onLaunch) onLaunch(request);

    LaunchRequest childRequest = request;
    const auto &output = childRequest.standardOutput.handle;
    if (output) output->write(script.output);
    // sh() (server/shell_runner.h) reads until all writing ends of its pipe are closed, and
    // `childRequest` would keep one open.
    if (isShell) childRequest.standardOutput = {};
    const std::string name = isShell ? program : "process " + std::to_string(launched.size() + 1);
    auto process = std::make_shared<FakeChildProcess>(scheduler_, name, script, childRequest);
    if (!isShell) launched.push_back(process);
    process->start();
    return {process, ""};
  }

  /// Sets the scripts of the next launches of a program, in order. The last script
  /// repeats. Without a script, a shell command prints nothing and exits at once, and a
  /// program runs until SIGTERM.
  void setScripts(const std::string &program, std::deque<FakeProcessScript> scripts) {
    scripts_[program] = std::move(scripts);
  }
  /// Sets the outputs of the next runs of a shell command, in order. The last output
  /// repeats.
  void setShellOutputs(const std::string &commandLine, const std::vector<std::string> &outputs) {
    auto &scripts = scripts_[commandLine];
    scripts.clear();
    for (const std::string &output : outputs) {
      scripts.push_back({.output = output, .exitsAfter = std::chrono::milliseconds(0)});
    }
  }

  /// Called at each successful launch, also of a shell command. A test can write the files that
  /// the process would write.
  std::function<void(const LaunchRequest &)> onLaunch;
  /// All processes other than shell commands, oldest first.
  std::vector<std::shared_ptr<FakeChildProcess>> launched;

 private:
  /// Returns the script of the next launch of a program.
  FakeProcessScript takeScript(const std::string &program, bool isShell) {
    auto &scripts = scripts_[program];
    if (scripts.empty() && isShell) return {.exitsAfter = std::chrono::milliseconds(0)};
    if (scripts.empty()) return {};
    FakeProcessScript script = scripts.front();
    if (scripts.size() > 1) scripts.pop_front();
    return script;
  }

  std::map<std::string, std::deque<FakeProcessScript>> scripts_;
};

}  // namespace orvel
