#pragma once

#include <string>

#include "platform/process_launcher.h"

namespace orvel::child_programs {

// Shell commands of the contract suites. The real platforms run them; the fake platform has
// scripts with the same behaviour.
inline constexpr const char *exitsWithStatusThree = "exit 3";
inline constexpr const char *killsItselfWithSigkill = "kill -9 $$";
inline constexpr const char *runsUntilTerminated = "exec sleep 600";

/// The path of a program that does not exist. Its launch fails with
/// `missingProgramError()`.
inline constexpr const char *missingProgram = "/nonexistent/orvel/program";
inline std::string missingProgramError() {
  return std::string(missingProgram) + ": No such file or directory";
}

/// Returns the request for a command of zsh, the shell that the application itself uses. The
/// output goes to /dev/null.
inline LaunchRequest shell(const std::string &commandLine) {
  LaunchRequest request;
  request.executable = "/bin/zsh";
  request.arguments = {"-c", commandLine};
  request.standardOutput.kind = StandardStream::Kind::null;
  request.standardError.kind = StandardStream::Kind::null;
  return request;
}

}  // namespace orvel::child_programs
