#include "platform/posix/posix_process_launcher.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/posix_child_process.h"
#include "platform/posix/spawn.h"

#if defined(__APPLE__)
extern "C" char **environ;
#endif

namespace orvel {

namespace {

/// Stops ignoring SIGCHLD: the kernel discards the exit status of children while SIGCHLD
/// is ignored or SA_NOCLDWAIT is set (POSIX, sigaction).
void keepExitStatuses() {
  struct sigaction action{};
  ::sigaction(SIGCHLD, nullptr, &action);
  if (action.sa_handler != SIG_IGN && (action.sa_flags & SA_NOCLDWAIT) == 0) return;
  if (action.sa_handler == SIG_IGN) action.sa_handler = SIG_DFL;
  action.sa_flags &= ~SA_NOCLDWAIT;
  ::sigaction(SIGCHLD, &action, nullptr);
}

/// Guesses the path that caused a launch error, because the system does not report which
/// step of the launch failed.
const std::string &failedPath(const LaunchRequest &request, int error) {
  const auto &directory = request.workingDirectory;
  if (directory.empty()) return request.executable;
  // With "/.", a path that is not a directory fails with ENOTDIR, as in chdir(2). Without it,
  // access(2) would accept an executable file.
  const bool isUnusable = ::access((directory + "/.").c_str(), X_OK) != 0 && errno == error;
  return isUnusable ? directory : request.executable;
}

}  // namespace

std::string systemErrorDescription(int error) { return std::generic_category().message(error); }

std::map<std::string, std::string> processEnvironment() {
  std::map<std::string, std::string> variables;
  for (char **entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string text = *entry;
    const auto equals = text.find('=');
    // The first of two variables with the same name counts, as for getenv.
    if (equals != std::string::npos) {
      variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
  }
  return variables;
}

PosixProcessLauncher::PosixProcessLauncher(std::map<std::string, std::string> environment,
                                           std::string (*describeError)(int))
    : environment_(std::move(environment)), describeError_(describeError) {
  keepExitStatuses();
}

LaunchResult PosixProcessLauncher::launch(const LaunchRequest &request) {
  const auto failure = [describe = describeError_](const std::string &path, int error) {
    return LaunchResult{nullptr, path + ": " + describe(error)};
  };
  auto environment = environment_;
  for (const auto &[name, value] : request.environmentChanges) environment[name] = value;
  std::promise<LaunchResult> promise;
  auto launched = promise.get_future();
  try {
    // One thread forks and then waits for the child, because PR_SET_PDEATHSIG sends its signal
    // when the forking thread ends. Without a thread no child is started: nothing would reap it.
    std::thread([&request, failure, environment = std::move(environment),
                 handler = request.terminationHandler, promise = std::move(promise)]() mutable {
      pid_t processId = 0;
      const int error = spawn(request, environment, processId);
      if (error != 0) {
        return promise.set_value(failure(failedPath(request, error), error));
      }
      const auto process = std::make_shared<PosixChildProcess>(processId);
      // After this call, launch() may return, and then `request` is a dangling reference.
      promise.set_value({process, ""});
      process->waitAndReap();
      if (handler) handler(process);
    }).detach();
  } catch (const std::system_error &error) {
    return failure(request.executable, error.code().value());
  }
  return launched.get();
}

}  // namespace orvel
