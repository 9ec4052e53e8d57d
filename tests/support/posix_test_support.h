#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/posix_process_launcher.h"
#include "tests/support/temporary_folder.h"

namespace orvel::posix_test {

/// Whether the tests are built with a sanitizer, which makes additional system calls and
/// allocations.
inline constexpr bool hasSanitizer = ORVELOS_HAS_SANITIZER;

/// Waits until a condition is true. Returns false when the limit, multiplied by
/// ORVEL_TEST_TIMEOUT_FACTOR (time_limit.h), has passed.
bool eventually(const std::function<bool()> &condition,
                std::chrono::milliseconds limit = std::chrono::seconds(20));

/// The standard output of a program and its children, and the exit code or the number of the
/// signal that ended the program.
struct Outcome {
  std::string output;
  int status = 0;
};
/// Runs a program to its end and reads its output. Expects that the launch succeeds.
Outcome run(ProcessLauncher &launcher, LaunchRequest request);
/// Runs a command of /bin/sh to its end and reads its output.
Outcome runShell(ProcessLauncher &launcher, const std::string &commandLine);

/// Returns the request to launch a program.
LaunchRequest program(const std::string &path, std::vector<std::string> arguments = {});

/// A launcher that sets `endsWithParent` of every request.
class LauncherUnderTest final : public ProcessLauncher {
 public:
  explicit LauncherUnderTest(bool endsWithParent,
                             std::map<std::string, std::string> environment = processEnvironment())
      : launcher_(std::move(environment)), endsWithParent_(endsWithParent) {}

  LaunchResult launch(const LaunchRequest &request) override;

 private:
  PosixProcessLauncher launcher_;
  const bool endsWithParent_;
};

/// The base of the suites of launches. The parameter is `endsWithParent` of every launch: whether
/// the child gets SIGTERM when this process dies. On Linux, fork starts such a child, and
/// posix_spawn any other; macOS ignores it.
class LauncherTest : public testing::TestWithParam<bool> {
 protected:
  LauncherUnderTest launcher_{GetParam()};
};

/// Returns the suffix of the test name for the value of `endsWithParent`.
inline std::string launcherName(const testing::TestParamInfo<bool> &endsWithParent) {
  return endsWithParent.param ? "EndsWithParent" : "Independent";
}

/// Lowers a soft resource limit of this process (setrlimit) during the lifetime of the object.
class ResourceLimit {
 public:
  using Resource = decltype(RLIMIT_NOFILE);
  ResourceLimit(Resource resource, rlim_t value) : resource_(resource) {
    ::getrlimit(resource_, &before_);
    const rlimit limit{value, before_.rlim_max};
    ::setrlimit(resource_, &limit);
  }
  ~ResourceLimit() { ::setrlimit(resource_, &before_); }
  ResourceLimit(const ResourceLimit &) = delete;
  ResourceLimit &operator=(const ResourceLimit &) = delete;

 private:
  const Resource resource_;
  rlimit before_{};
};

/// Makes writes fail beyond a file size during the lifetime of the object. Simulates a full
/// disk without mounting a file system.
class FullDisk {
 public:
  explicit FullDisk(rlim_t maxFileSize) : limit_(RLIMIT_FSIZE, maxFileSize) {}
  ~FullDisk() { std::signal(SIGXFSZ, handler_); }

 private:
  // A write beyond RLIMIT_FSIZE raises SIGXFSZ, whose default action ends the process.
  void (*const handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
  const ResourceLimit limit_;
};

/// Sets the umask during the lifetime of the object.
class ScopedUmask {
 public:
  explicit ScopedUmask(mode_t mask) : before_(::umask(mask)) {}
  ~ScopedUmask() { ::umask(before_); }
  ScopedUmask(const ScopedUmask &) = delete;
  ScopedUmask &operator=(const ScopedUmask &) = delete;

 private:
  const mode_t before_;
};

/// Returns the permission bits of a file or folder. Follows symbolic links.
unsigned modeOf(const std::filesystem::path &path);
/// Returns the number of open descriptors of this process.
int openDescriptorCount();
/// Returns whether this process has a zombie child.
bool hasZombieChild();
/// Returns the system's description of an errno value.
std::string errnoDescription(int errorNumber);
/// Reads up to the end of a line or of the file. Returns the text without the line feed.
std::string readLine(const FileHandle &handle);
/// Returns the bytes of a file; empty when it cannot be read.
std::string contentsOf(const std::filesystem::path &path);

}  // namespace orvel::posix_test
