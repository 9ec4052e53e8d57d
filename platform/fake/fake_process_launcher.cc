#include "platform/fake/fake_process_launcher.h"

#include <csignal>

namespace orvel {

namespace {

using Thread = FakeScheduler::Thread;

bool isShellCommand(const LaunchRequest &request) {
  return request.executable == "/bin/zsh" && request.arguments.size() == 2 &&
         request.arguments[0] == "-c";
}

std::string describe(const LaunchRequest &request) {
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
  const std::string &program = isShell ? request.arguments[1] : request.executable;
  scheduler_.record().add(describe(request));
  const FakeProcessScript script = next(program, isShell);
  if (script.launchError) return {nullptr, *script.launchError};
  if (onLaunch) onLaunch(request);

  LaunchRequest kept = request;
  if (kept.standardOutput.handle) kept.standardOutput.handle->write(script.output);
  // The reader of a shell command's output waits until the pipe is closed.
  if (isShell) kept.standardOutput = {};
  const std::string name = isShell ? program : "process " + std::to_string(launched.size() + 1);
  auto process = std::make_shared<FakeChildProcess>(scheduler_, name, script, kept);
  if (!isShell) launched.push_back(process);
  process->start();
  return {process, ""};
}

void FakeProcessLauncher::setScripts(const std::string &program,
                                     std::vector<FakeProcessScript> scripts) {
  scripts_[program] = {scripts.begin(), scripts.end()};
}

void FakeProcessLauncher::setShellOutputs(const std::string &commandLine,
                                          const std::vector<std::string> &outputs) {
  std::vector<FakeProcessScript> scripts;
  for (const std::string &output : outputs) {
    scripts.push_back({.output = output, .exitsAfter = std::chrono::milliseconds(0)});
  }
  setScripts(commandLine, scripts);
}

FakeProcessScript FakeProcessLauncher::next(const std::string &program, bool isShell) {
  auto &scripts = scripts_[program];
  if (scripts.empty() && isShell) return {.exitsAfter = std::chrono::milliseconds(0)};
  if (scripts.empty()) return {};
  FakeProcessScript script = scripts.front();
  if (scripts.size() > 1) scripts.pop_front();
  return script;
}

}  // namespace orvel
