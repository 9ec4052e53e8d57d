#include "platform/fake/fake_process_launcher.h"

#include <csignal>

namespace orvel {

namespace {

using Thread = FakeScheduler::Thread;

bool isShellCommand(const LaunchRequest &request) {
  return request.executable == "/bin/zsh" && request.arguments.size() == 2 &&
         request.arguments[0] == "-c";
}

std::string description(const LaunchRequest &request) {
  if (isShellCommand(request)) return "sh " + request.arguments[1];
  std::string text = "launch " + request.executable;
  for (const std::string &argument : request.arguments) text += " " + argument;
  return text;
}

}  // namespace

FakeChildProcess::FakeChildProcess(FakeScheduler &scheduler, std::string processName,
                                   FakeProcessScript script, LaunchRequest launchRequest)
    : name(std::move(processName)),
      request(std::move(launchRequest)),
      scheduler_(scheduler),
      script_(std::move(script)) {}

void FakeChildProcess::start() {
  const auto &output = request.standardOutput;
  if (output.handle && !script_.output.empty()) output.handle->write(script_.output);
  if (script_.exitsAfter) exitAfter(*script_.exitsAfter, script_.status);
}

void FakeChildProcess::terminate() {
  scheduler_.record().add("terminate " + name);
  if (onTerminate) onTerminate();
  if (script_.exitsAfterSigterm) exitAfter(*script_.exitsAfterSigterm, SIGTERM);
}

void FakeChildProcess::kill() {
  scheduler_.record().add("kill " + name);
  exitAfter(std::chrono::milliseconds(0), SIGKILL);
}

void FakeChildProcess::waitUntilExit() {
  scheduler_.block(std::nullopt, [this] { return !running_; });
}

void FakeChildProcess::exitAfter(std::chrono::milliseconds delay, int status) {
  scheduler_.schedule(Thread::background, delay,
                      [self = shared_from_this(), status] { self->exit(status); });
}

void FakeChildProcess::exit(int status) {
  if (!running_) return;
  running_ = false;
  status_ = status;
  if (!request.terminationHandler) return;
  scheduler_.schedule(Thread::background, std::chrono::milliseconds(0),
                      [self = shared_from_this()] { self->request.terminationHandler(self); });
}

LaunchResult FakeProcessLauncher::launch(const LaunchRequest &request) {
  const bool isShell = isShellCommand(request);
  scheduler_.record().add(description(request));
  FakeProcessScript script = next(isShell ? request.arguments[1] : request.executable, isShell);
  if (script.launchError) return {nullptr, *script.launchError};
  if (onLaunch) onLaunch(request);

  LaunchRequest kept = request;
  if (isShell) {
    // The fake must not keep the pipe open: the reader waits for its end.
    if (kept.standardOutput.handle) kept.standardOutput.handle->write(script.output);
    kept.standardOutput = {};
    script.output.clear();
  }
  const std::string name =
      isShell ? request.arguments[1] : "process " + std::to_string(launched.size() + 1);
  auto process = std::make_shared<FakeChildProcess>(scheduler_, name, script, kept);
  if (!isShell) launched.push_back(process);
  process->start();
  return {process, ""};
}

void FakeProcessLauncher::script(const std::string &program,
                                 std::vector<FakeProcessScript> scripts) {
  scripts_[program] = {scripts.begin(), scripts.end()};
}

void FakeProcessLauncher::scriptShell(const std::string &commandLine,
                                      const std::vector<std::string> &outputs) {
  auto &scripts = scripts_[commandLine];
  scripts.clear();
  for (const std::string &output : outputs) {
    FakeProcessScript script;
    script.output = output;
    script.exitsAfter = std::chrono::milliseconds(0);
    scripts.push_back(script);
  }
}

FakeProcessScript FakeProcessLauncher::next(const std::string &program, bool isShell) {
  const auto found = scripts_.find(program);
  if (found == scripts_.end() || found->second.empty()) {
    FakeProcessScript script;
    if (isShell) script.exitsAfter = std::chrono::milliseconds(0);
    return script;
  }
  FakeProcessScript script = found->second.front();
  if (found->second.size() > 1) found->second.pop_front();
  return script;
}

}  // namespace orvel
