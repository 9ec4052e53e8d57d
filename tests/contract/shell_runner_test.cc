// The shell runner with a real zsh, and with the platform's trimmedText(), which trims the output.

#include "server/shell_runner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "platform/posix/posix_process_launcher.h"

namespace orvel {
namespace {

class ShellRunner : public testing::Test {
 protected:
  std::string sh(const std::string &commandLine) { return orvel::sh(launcher_, commandLine); }

  PosixProcessLauncher launcher_{processEnvironment()};
};

TEST_F(ShellRunner, OutputIsReturnedTrimmed) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"printf '  a  b  '", "a  b"},
      {R"(printf '1\n2\n')", "1\n2"},
      {R"(printf '\n\r\n 1\r\n\n\t2 \n\n')", "1\r\n\n\t2"},
      {"printf %s '\u00A0\u3000a\u2028'", "a"},
      // NUL and invisible characters are not white space.
      {"printf '\\0a\\0'", std::string("\0a\0", 3)},
      {"printf %s '\u2060\u00E9\u00AD'", "\u2060\u00E9\u00AD"},
      // Output before a failure.
      {"echo partly; exit 3", "partly"},
      {"echo partly; kill -9 $$", "partly"},
      {"echo before; /nonexistent/orvel/program; echo after", "before\nafter"},
      // No output.
      {"exit 3", ""},
      {"", ""},
      {"/nonexistent/orvel/program", ""},
      {"no-such-command-of-orvel", ""},
      {"if then", ""},
      // Standard error is discarded.
      {"ls /nonexistent/orvel", ""},
      {"echo complaint >&2", ""},
      {"echo complaint >&2; echo answer", "answer"},
      // Output that is not UTF-8 is discarded. That of the last row is UTF-8.
      {"printf 'good \\xff'", ""},
      {R"(printf 'truncated \xe2\x80')", ""},
      {R"(printf 'overlong \xc0\xaf')", ""},
      {R"(printf 'surrogate \xed\xa0\x80')", ""},
      {R"(printf 'good \xe2\x8c\x98')", "good \u2318"},
  };
  for (const auto &[commandLine, output] : rows) EXPECT_EQ(sh(commandLine), output) << commandLine;
}

TEST_F(ShellRunner, ShellIsNonInteractiveNonLoginZsh) {
  EXPECT_EQ(sh("[[ -o login || -o interactive ]] && echo yes || echo no"), "no");
  // Only zsh sets ZSH_VERSION.
  EXPECT_EQ(sh("echo ${ZSH_VERSION:+zsh}"), "zsh");
}

TEST_F(ShellRunner, WorkingDirectoryAndEnvironmentAreInherited) {
  EXPECT_EQ(sh("pwd -P"), std::filesystem::canonical(std::filesystem::current_path()));
  const std::map<std::string, std::string> environment{{"ORVEL_CONTRACT", "inherited"}};
  PosixProcessLauncher launcher(environment);
  EXPECT_EQ(orvel::sh(launcher, "printf %s $ORVEL_CONTRACT"), "inherited");
}

TEST_F(ShellRunner, BackgroundJobWithRedirectedOutputIsNotAwaited) {
  const std::string processId = sh("sleep 600 >/dev/null 2>&1 & echo $!");
  ASSERT_FALSE(processId.empty());
  // The job still runs.
  EXPECT_EQ(::kill(std::stoi(processId), SIGTERM), 0);
}

}  // namespace
}  // namespace orvel
