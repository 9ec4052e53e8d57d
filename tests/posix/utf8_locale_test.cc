#include "platform/posix/utf8_locale.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

#if defined(__APPLE__)
constexpr const char *utf8Locale = "en_US.UTF-8";
#else
constexpr const char *utf8Locale = "C.UTF-8";
#endif

/// Sets the three locale variables for a test and restores the previous values.
class Utf8Locale : public testing::Test {
 public:
  Utf8Locale() {
    for (const char *name : names) {
      const char *value = std::getenv(name);
      before_[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
    }
  }
  ~Utf8Locale() override {
    for (const auto &[name, value] : before_) {
      ::unsetenv(name.c_str());
      if (value) ::setenv(name.c_str(), value->c_str(), 1);
    }
  }

 protected:
  using Variables = std::map<std::string, std::string>;

  /// Sets the locale variables, calls ensureUtf8Locale and returns the new values.
  Variables afterEnsure(const Variables &variables) {
    for (const char *name : names) ::unsetenv(name);
    for (const auto &[name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
    ensureUtf8Locale();
    Variables after;
    for (const auto &[name, value] : processEnvironment()) {
      if (before_.contains(name)) after[name] = value;
    }
    return after;
  }

 private:
  static constexpr std::array<const char *, 3> names{"LC_ALL", "LC_CTYPE", "LANG"};
  std::map<std::string, std::optional<std::string>> before_;
};

TEST_F(Utf8Locale, UnsetLocaleBecomesUtf8) {
  EXPECT_EQ(afterEnsure({}), (Variables{{"LC_CTYPE", utf8Locale}}));
}

TEST_F(Utf8Locale, EmptyVariablesCountAsUnset) {
  EXPECT_EQ(afterEnsure({{"LC_ALL", ""}, {"LC_CTYPE", ""}, {"LANG", ""}}),
            (Variables{{"LC_ALL", ""}, {"LC_CTYPE", utf8Locale}, {"LANG", ""}}));
}

TEST_F(Utf8Locale, SetLocaleIsKept) {
  for (const Variables &named : {Variables{{"LC_ALL", "C"}}, Variables{{"LC_CTYPE", "POSIX"}},
                                 Variables{{"LANG", "nl_NL.ISO-8859-1"}}}) {
    EXPECT_EQ(afterEnsure(named), named);
  }
}

TEST_F(Utf8Locale, PsPrintsNonAsciiPaths) {
  afterEnsure({});
  PosixProcessLauncher launcher(processEnvironment());
  const std::string path = "/data é €/v3/server.mjs";
  // The shell is in the process list because it waits for ps.
  const auto outcome =
      run(launcher, program("/bin/sh", {"-c", "ps -o command= -p $$; exit", path}));
  EXPECT_NE(outcome.output.find(path), std::string::npos) << outcome.output;
}

}  // namespace
}  // namespace orvel
