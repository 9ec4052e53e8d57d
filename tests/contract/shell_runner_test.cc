// The shell runner with a real zsh.

#include "server/shell_runner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

class ShellRunner : public testing::Test {
 protected:
  std::string sh(const std::string &commandLine) { return orvel::sh(launcher_, commandLine); }

  PosixProcessLauncher launcher_{processEnvironment()};
};

TEST_F(ShellRunner, OuterSpacesAreTrimmed) { EXPECT_EQ(sh("printf '  a b  '"), "a b"); }

TEST_F(ShellRunner, InnerLineBreaksAreKept) {
  EXPECT_EQ(sh("printf '1\\n2\\n'"), "1\n2");
  EXPECT_EQ(sh("printf '\\n\\r\\n 1\\r\\n\\n\\t2 \\n\\n'"), "1\r\n\n\t2");
}

TEST_F(ShellRunner, OuterUnicodeWhiteSpaceIsTrimmed) {
  const std::vector<std::string> spaces{"\t",     "\n",     "\v",     "\f",     "\r",     " ",
                                        "\u0085", "\u00A0", "\u1680", "\u2000", "\u2009", "\u200A",
                                        "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"};
  for (const std::string &space : spaces) {
    EXPECT_EQ(sh("printf %s '" + space + "a" + space + "b" + space + "'"), "a" + space + "b");
    EXPECT_EQ(sh("printf %s '" + space + space + "'"), "");
  }
}

TEST_F(ShellRunner, NulAndOuterInvisibleCharactersAreKept) {
  EXPECT_EQ(sh("printf '\\0a\\0'"), std::string("\0a\0", 3));
  EXPECT_EQ(sh("printf %s '\u2060\u00E9\u00AD'"), "\u2060\u00E9\u00AD");
}

TEST_F(ShellRunner, OutputBeforeFailureIsReturned) {
  EXPECT_EQ(sh("echo partly; exit 3"), "partly");
  EXPECT_EQ(sh("echo partly; kill -9 $$"), "partly");
  EXPECT_EQ(sh("echo before; /nonexistent/orvel/program; echo after"), "before\nafter");
}

TEST_F(ShellRunner, CommandWithoutOutputReturnsEmptyText) {
  EXPECT_EQ(sh("exit 3"), "");
  EXPECT_EQ(sh(""), "");
  EXPECT_EQ(sh("/nonexistent/orvel/program"), "");
  EXPECT_EQ(sh("no-such-command-of-orvel"), "");
  EXPECT_EQ(sh("if then"), "");
}

TEST_F(ShellRunner, StandardErrorIsDiscarded) {
  EXPECT_EQ(sh("ls /nonexistent/orvel"), "");
  EXPECT_EQ(sh("echo complaint >&2"), "");
  EXPECT_EQ(sh("echo complaint >&2; echo answer"), "answer");
}

TEST_F(ShellRunner, InvalidUtf8ReturnsEmptyText) {
  EXPECT_EQ(sh("printf 'good \\xff'"), "");
  EXPECT_EQ(sh("printf 'truncated \\xe2\\x80'"), "");
  EXPECT_EQ(sh("printf 'overlong \\xc0\\xaf'"), "");
  EXPECT_EQ(sh("printf 'surrogate \\xed\\xa0\\x80'"), "");
  EXPECT_EQ(sh("printf 'good \\xe2\\x8c\\x98'"), "good \u2318");
}

TEST_F(ShellRunner, ShellIsNonInteractiveNonLoginZsh) {
  EXPECT_EQ(sh("[[ -o login || -o interactive ]] && echo yes || echo no"), "no");
  EXPECT_EQ(sh("echo ${ZSH_VERSION:+zsh}"), "zsh");
}

TEST_F(ShellRunner, WorkingDirectoryAndEnvironmentAreInherited) {
  EXPECT_EQ(sh("pwd -P"), std::filesystem::canonical(std::filesystem::current_path()));
  const std::map<std::string, std::string> environment{{"ORVEL_CONTRACT", "inherited"}};
  PosixProcessLauncher launcher(environment);
  EXPECT_EQ(orvel::sh(launcher, "printf %s $ORVEL_CONTRACT"), "inherited");
}

TEST_F(ShellRunner, BackgroundJobWithRedirectedOutputIsNotAwaited) {
  const std::string job = sh("sleep 600 >/dev/null 2>&1 & echo $!");
  ASSERT_FALSE(job.empty());
  EXPECT_EQ(::kill(std::stoi(job), SIGTERM), 0);
}

/// Records the last request and forwards it to the real launcher.
class RecordingLauncher final : public ProcessLauncher {
 public:
  explicit RecordingLauncher(ProcessLauncher &real) : real_(real) {}
  LaunchResult launch(const LaunchRequest &request) override {
    LaunchRequest forwarded = request;
    if (!replacementExecutable.empty()) forwarded.executable = replacementExecutable;
    arguments = request.arguments;
    executable = request.executable;
    inheritsDirectoryAndEnvironment =
        !request.workingDirectory && request.environmentChanges.empty();
    return real_.launch(forwarded);
  }
  /// The program to launch instead of the requested one. Empty for the requested one.
  std::string replacementExecutable;
  std::string executable;
  std::vector<std::string> arguments;
  bool inheritsDirectoryAndEnvironment = false;

 private:
  ProcessLauncher &real_;
};

TEST_F(ShellRunner, MissingShellReturnsEmptyText) {
  RecordingLauncher launcher(launcher_);
  launcher.replacementExecutable = "/nonexistent/orvel/zsh";
  EXPECT_EQ(orvel::sh(launcher, "echo never"), "");
}

TEST_F(ShellRunner, CommandLineIsSecondArgumentOfZsh) {
  RecordingLauncher launcher(launcher_);
  EXPECT_EQ(orvel::sh(launcher, "echo 'a  b'"), "a  b");
  EXPECT_EQ(launcher.executable, "/bin/zsh");
  EXPECT_EQ(launcher.arguments, (std::vector<std::string>{"-c", "echo 'a  b'"}));
  EXPECT_TRUE(launcher.inheritsDirectoryAndEnvironment);
}

TEST_F(ShellRunner, ConcurrentRunsLeaveNoDescriptorOrZombie) {
  sh("exit 0");
  const int descriptorsBefore = openDescriptorCount();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      const std::string number = std::to_string(thread);
      for (int i = 0; i < 10; ++i) EXPECT_EQ(sh("echo " + number), number);
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(openDescriptorCount(), descriptorsBefore);
  EXPECT_FALSE(hasZombieChild());
}

}  // namespace
}  // namespace orvel
