#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/posix_process_launcher.h"
#include "tests/support/temporary_folder.h"

namespace orvel::posix_test {

/// Whether the tests are built with one, which makes system calls and keeps
/// memory of its own.
inline constexpr bool hasSanitizer = ORVELOS_HAS_SANITIZER;

/// Waits for a condition that another thread or process brings about. False
/// when it does not come within the limit.
bool eventually(const std::function<bool()> &condition,
                std::chrono::milliseconds limit = std::chrono::seconds(20));

/// Runs a program to its end and gives everything that it and its children
/// wrote to standard output.
struct Outcome {
  std::string output;
  std::string error;
  int status = 0;
};
Outcome run(ProcessLauncher &launcher, LaunchRequest request);
/// The same for a command of the plain shell.
Outcome runShell(ProcessLauncher &launcher, const std::string &commandLine);

LaunchRequest program(const std::string &path, std::vector<std::string> arguments = {});

/// A fixture that starts every child either with endsWithParent or without it. Linux has
/// two implementations (fork and posix_spawn), which must behave alike otherwise.
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

/// Returns the test name suffix for the parameter.
inline std::string nameOfWay(const testing::TestParamInfo<bool> &endsWithParent) {
  return endsWithParent.param ? "WithParent" : "OnItsOwn";
}

/// How many descriptors this process has open.
int openDescriptors();
/// Whether a child of this process has ended and waits to be reaped.
bool hasZombie();
std::string description(int errorNumber);
std::string contentsOf(const std::filesystem::path &path);

}  // namespace orvel::posix_test
