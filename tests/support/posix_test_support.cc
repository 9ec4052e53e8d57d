#include "tests/support/posix_test_support.h"

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>
#include <utility>

#include "tests/support/time_limit.h"

namespace orvel::posix_test {

bool eventually(const std::function<bool()> &condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + timeLimit(limit);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

Outcome run(ProcessLauncher &launcher, LaunchRequest request) {
  auto pipe = Pipe::create();
  request.standardOutput = {StandardStream::Kind::handle, std::move(pipe->writing)};
  const LaunchResult child = launcher.launch(request);
  // Closes the writing end of this process, which would otherwise keep readToEnd() waiting.
  request.standardOutput = {};
  EXPECT_EQ(child.error, "");
  if (!child.process) return {};
  Outcome outcome;
  outcome.output = pipe->reading->readToEnd();
  child.process->waitUntilExit();
  outcome.status = child.process->terminationStatus();
  return outcome;
}

Outcome runShell(ProcessLauncher &launcher, const std::string &commandLine) {
  return run(launcher, program("/bin/sh", {"-c", commandLine}));
}

LaunchRequest program(const std::string &path, std::vector<std::string> arguments) {
  LaunchRequest request;
  request.executable = path;
  request.arguments = std::move(arguments);
  return request;
}

LaunchResult LauncherUnderTest::launch(const LaunchRequest &request) {
  LaunchRequest changed = request;
  changed.endsWithParent = endsWithParent_;
  return launcher_.launch(changed);
}

unsigned modeOf(const std::filesystem::path &path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

int openDescriptorCount() {
  int count = 0;
  DIR *folder = ::opendir("/dev/fd");
  while (::readdir(folder) != nullptr) ++count;
  ::closedir(folder);
  // Without ".", ".." and the descriptor of the folder.
  return count - 3;
}

bool hasZombieChild() {
  siginfo_t info{};
  return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid != 0;
}

std::string errnoDescription(int errorNumber) { return std::strerror(errorNumber); }

std::string readLine(const FileHandle &handle) {
  std::string line;
  char character = 0;
  while (::read(handle.descriptor(), &character, 1) == 1 && character != '\n') line += character;
  return line;
}

std::string contentsOf(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace orvel::posix_test
