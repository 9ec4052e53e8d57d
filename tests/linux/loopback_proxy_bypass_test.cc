#include "platform/linux/loopback_proxy_bypass.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "tests/linux/files/forked_child.h"

namespace orvel {
namespace {

/// Returns whether the system's resolver finds a proxy for a URL.
bool hasProxy(const char *url) {
  const std::unique_ptr<char *, void (*)(char **)> proxies(
      g_proxy_resolver_lookup(g_proxy_resolver_get_default(), url, nullptr, nullptr), g_strfreev);
  return proxies && std::string(*proxies) != "direct://";
}

/// Sets an environment variable, or removes it when the value is absent.
void setVariable(const char *name, const std::optional<std::string> &value) {
  ::unsetenv(name);
  if (value) ::setenv(name, value->c_str(), 1);
}

TEST(LoopbackProxyBypass, LoopbackAddressesAreAddedToLowerAndUpperCaseNoProxy) {
  // Resolvers differ in whether they compare an IPv6 address with its brackets.
  const std::string added = "localhost,127.0.0.0/8,::1,[::1]";
  struct Row {
    std::optional<std::string> lowerCase;
    std::optional<std::string> upperCase;
    std::string lowerCaseAfter;
    std::string upperCaseAfter;
  };
  // An absent variable first gets the value of the other one.
  for (const Row &row : {Row{{}, {}, added, added}, Row{"", "", added, added},
                         Row{"a.test", {}, "a.test," + added, "a.test," + added},
                         Row{{}, "b.test", "b.test," + added, "b.test," + added},
                         Row{"a.test", "b.test", "a.test," + added, "b.test," + added},
                         Row{"", "b.test", added, "b.test," + added}}) {
    setVariable("no_proxy", row.lowerCase);
    setVariable("NO_PROXY", row.upperCase);
    bypassProxyForLoopback();
    EXPECT_EQ(std::getenv("no_proxy"), row.lowerCaseAfter);
    EXPECT_EQ(std::getenv("NO_PROXY"), row.upperCaseAfter);
  }
}

TEST(LoopbackProxyBypass, ResolverUsesProxyForOtherHostsOnly) {
  struct Row {
    const char *url;
    bool hasProxy;
  };
  for (const Row &row : {Row{"http://127.0.0.1:4767/", false}, Row{"http://127.1.2.3/", false},
                         Row{"http://localhost:4767/", false}, Row{"http://[::1]:4767/", false},
                         Row{"https://127.0.0.1/", false}, Row{"ws://127.0.0.1:4767/", false},
                         Row{"http://excluded.test/", false}, Row{"http://other.test/", true},
                         Row{"https://other.test/", true}, Row{"http://128.0.0.1/", true}}) {
    // In a child, because the resolver may read the environment only once.
    const auto outcome = posix_test::runInChild([&row] {
      for (const char *name : {"http_proxy", "https_proxy", "all_proxy"}) {
        setVariable(name, "http://proxy.test:3128");
      }
      setVariable("no_proxy", "excluded.test");
      setVariable("NO_PROXY", {});
      // A resolver that finds no proxy before the bypass does not read the environment, but for
      // example the settings of the desktop.
      if (!hasProxy("http://127.0.0.1:4767/")) posix_test::exitWithoutResult();
      bypassProxyForLoopback();
      return hasProxy(row.url) == row.hasProxy;
    });
    if (!outcome) GTEST_SKIP() << "the system's resolver does not read the environment";
    EXPECT_EQ(outcome, true) << row.url;
  }
}

}  // namespace
}  // namespace orvel
