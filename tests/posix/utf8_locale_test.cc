#include "platform/posix/utf8_locale.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

// The locale that ensureUtf8Locale is expected to set.
#if defined(__APPLE__)
constexpr const char *utf8Locale = "en_US.UTF-8";
#else
constexpr const char *utf8Locale = "C.UTF-8";
#endif

using Variables = std::map<std::string, std::string>;

/// Returns the environment variables that determine the character encoding.
Variables localeVariables() {
  auto variables = processEnvironment();
  std::erase_if(variables, [](const auto &variable) {
    return variable.first != "LC_ALL" && variable.first != "LC_CTYPE" && variable.first != "LANG";
  });
  return variables;
}

void setLocaleVariables(const Variables &variables) {
  for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) ::unsetenv(name);
  for (const auto &[name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
}

/// Restores the locale variables after each test.
class Utf8Locale : public testing::Test {
 public:
  ~Utf8Locale() override { setLocaleVariables(before_); }

 private:
  const Variables before_ = localeVariables();
};

TEST_F(Utf8Locale, OnlyUnsetOrEmptyLocaleBecomesUtf8) {
  const std::vector<std::pair<Variables, Variables>> rows{
      {{}, {{"LC_CTYPE", utf8Locale}}},
      {{{"LC_ALL", ""}, {"LC_CTYPE", ""}, {"LANG", ""}},
       {{"LC_ALL", ""}, {"LC_CTYPE", utf8Locale}, {"LANG", ""}}},
      {{{"LC_ALL", "C"}}, {{"LC_ALL", "C"}}},
      {{{"LC_CTYPE", "POSIX"}}, {{"LC_CTYPE", "POSIX"}}},
      {{{"LANG", "nl_NL.ISO-8859-1"}}, {{"LANG", "nl_NL.ISO-8859-1"}}},
  };
  for (const auto &[variables, expected] : rows) {
    setLocaleVariables(variables);
    ensureUtf8Locale();
    EXPECT_EQ(localeVariables(), expected);
  }
}

// The application recognizes a stale server by the path in the output of ps.
TEST_F(Utf8Locale, PsPrintsNonAsciiPathInUtf8Locale) {
  setLocaleVariables({});
  ensureUtf8Locale();
  PosixProcessLauncher launcher(processEnvironment());
  const std::string path = "/data é €/v3/server.mjs";
  // ps prints the command line of the shell, whose $0 is the path. "exit" makes the shell wait for
  // ps; as the last command, ps would replace the shell (exec).
  const auto outcome =
      run(launcher, program("/bin/sh", {"-c", "ps -o command= -p $$; exit", path}));
  EXPECT_NE(outcome.output.find(path), std::string::npos) << outcome.output;
}

}  // namespace
}  // namespace orvel
