#include "server/shell_runner.h"

#include "base/text.h"

namespace orvel {

std::string sh(ProcessLauncher &launcher, std::string_view commandLine) {
  auto pipe = Pipe::create();
  if (!pipe) return "";

  std::shared_ptr<ChildProcess> process;
  {
    LaunchRequest request;
    request.executable = "/bin/zsh";
    request.arguments = {"-c", std::string(commandLine)};
    request.standardOutput = {StandardStream::Kind::handle, std::move(pipe->writing)};
    request.standardError = {StandardStream::Kind::null, nullptr};
    process = launcher.launch(request).process;
  }
  // The end of the block closed the application's writing end of the pipe, which the request held.
  // With it open, reading would never end.
  if (!process) return "";
  process->waitUntilExit();
  return trimmedText(pipe->reading->readToEnd()).value_or("");
}

}  // namespace orvel
