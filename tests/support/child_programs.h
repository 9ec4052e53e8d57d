#pragma once

#include <string>

#include "platform/process_launcher.h"

namespace orvel::child_programs {

// Shell commands that every platform under contract can run. A scripted
// platform plays them: the first two end at once with the status 3 and the
// signal 9, the third runs until it is asked to end and then obeys.
inline constexpr const char *exitsWithThree = "exit 3";
inline constexpr const char *killsItself = "kill -9 $$";
inline constexpr const char *runsUntilAsked = "exec sleep 600";

/// A program that is not there. A scripted platform fails its launch with
/// missingProgramError().
inline constexpr const char *missingProgram = "/nonexistent/orvel/program";
inline std::string missingProgramError() {
  return std::string(missingProgram) + ": No such file or directory";
}

/// The request for a command of the shell, with its output thrown away.
inline LaunchRequest shell(const std::string &commandLine) {
  LaunchRequest request;
  request.executable = "/bin/zsh";
  request.arguments = {"-c", commandLine};
  request.standardOutput.kind = StandardStream::Kind::null;
  request.standardError.kind = StandardStream::Kind::null;
  return request;
}

}  // namespace orvel::child_programs
