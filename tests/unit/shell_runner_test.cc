#include "server/shell_runner.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class ShellRunner : public testing::Test {
 protected:
  std::string run(const std::string &output) {
    fake.processes.shell("opdracht", {output});
    return sh(fake.processes, "opdracht");
  }

  FakePlatform fake;
};

TEST_F(ShellRunner, trimsBothEndsAndKeepsTheInside) {
  EXPECT_EQ(run("  a b  "), "a b");
  EXPECT_EQ(run("1\n2\n"), "1\n2");
  EXPECT_EQ(run("\t\r\n a\t\n\v\f"), "a");
  EXPECT_EQ(run("\u00a0\u2003\u2028a\u2029\u3000"), "a");
}

TEST_F(ShellRunner, whiteSpaceAloneIsTheEmptyText) {
  EXPECT_EQ(run(""), "");
  EXPECT_EQ(run(" \n\t \n"), "");
}

TEST_F(ShellRunner, outputThatIsNotUtf8IsTheEmptyText) {
  EXPECT_EQ(run("goed\xff"), "");
  EXPECT_EQ(run("\xc3"), "");
  EXPECT_EQ(run("\xed\xa0\x80"), "");
  EXPECT_EQ(run("caf\u00e9 \U0001f600\n"), "caf\u00e9 \U0001f600");
}

TEST_F(ShellRunner, failedLaunchIsTheEmptyTextAndDoesNotBlock) {
  fake.processes.script("opdracht", {{.launchError = "no such file"}});
  EXPECT_EQ(sh(fake.processes, "opdracht"), "");
}

TEST_F(ShellRunner, waitsForTheCommandToEnd) {
  fake.processes.script("opdracht", {{.output = "klaar", .endsAfter = 5s}});
  EXPECT_EQ(sh(fake.processes, "opdracht"), "klaar");
  EXPECT_EQ(fake.scheduler.now(), 5s);
}

}  // namespace
}  // namespace orvel
