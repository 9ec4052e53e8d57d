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
  // The request held this process's writing end of the pipe. With that end closed,
  // reading ends when the shell has exited.
  if (!process) return "";
  process->waitUntilExit();
  return trimmedText(pipe->reading->readToEnd()).value_or("");
}

}  // namespace orvel
