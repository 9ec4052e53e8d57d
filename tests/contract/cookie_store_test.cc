// What every platform promises of the cookies of a web view.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "tests/contract/contract_platform.h"
#include "tests/support/permissive_delegate.h"

namespace orvel {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

class CookieStoreContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  Cookie cookie(const std::string &value) const {
    Cookie cookie;
    cookie.name = "orvelapp";
    cookie.value = value;
    cookie.domain = "127.0.0.1";
    cookie.path = "/";
    return cookie;
  }

  void set(const Cookie &cookie) {
    int completions = 0;
    view->cookieStore().set(cookie, [&] {
      EXPECT_TRUE(platform->onMainThread());
      ++completions;
    });
    EXPECT_EQ(completions, 0) << "the completion came inside the call";
    ASSERT_TRUE(platform->runUntil([&] { return completions > 0; }));
    // A second one would have come by the time that the store has answered.
    all();
    EXPECT_EQ(completions, 1);
  }

  std::vector<Cookie> all() {
    std::optional<std::vector<Cookie>> found;
    view->cookieStore().all([&](std::vector<Cookie> cookies) {
      EXPECT_TRUE(platform->onMainThread());
      EXPECT_FALSE(found);
      found = std::move(cookies);
    });
    EXPECT_TRUE(platform->runUntil([&] { return found.has_value(); }));
    return found.value_or(std::vector<Cookie>());
  }

  std::unique_ptr<ContractPlatform> platform = GetParam().make();
  PermissiveDelegate delegate;
  const WebWindow made = [this] {
    WebViewConfiguration configuration;
    configuration.applicationNameForUserAgent = "ORVELOS/";
    configuration.persistentDataStore = false;
    return platform->ports().windows.create({}, configuration, delegate);
  }();
  WebView *const view = made.web.get();
};

TEST_P(CookieStoreContract, BeginsEmpty) { EXPECT_TRUE(all().empty()); }

TEST_P(CookieStoreContract, GivesBackWhatWasSet) {
  Cookie wanted = cookie("a key/with = signs");
  wanted.secure = true;
  wanted.expires = std::chrono::floor<seconds>(platform->ports().clock.now()) + seconds(157680000);
  set(wanted);
  const auto cookies = all();
  ASSERT_EQ(cookies.size(), 1U);
  EXPECT_EQ(cookies[0].name, wanted.name);
  EXPECT_EQ(cookies[0].value, wanted.value);
  EXPECT_EQ(cookies[0].domain, wanted.domain);
  EXPECT_EQ(cookies[0].path, wanted.path);
  EXPECT_TRUE(cookies[0].secure);
  EXPECT_EQ(cookies[0].expires, wanted.expires);
}

TEST_P(CookieStoreContract, ACookieWithoutEndOrProtectionStaysSo) {
  set(cookie("session"));
  const auto cookies = all();
  ASSERT_EQ(cookies.size(), 1U);
  EXPECT_FALSE(cookies[0].secure);
  EXPECT_EQ(cookies[0].expires, std::nullopt);
}

TEST_P(CookieStoreContract, ReplacesTheSameAndKeepsTheOthers) {
  set(cookie("first"));
  Cookie elsewhere = cookie("elsewhere");
  elsewhere.domain = "localhost";
  set(elsewhere);
  Cookie deeper = cookie("deeper");
  deeper.path = "/api";
  set(deeper);
  set(cookie("second"));

  std::vector<std::string> values;
  for (const Cookie &one : all()) values.push_back(one.value);
  std::sort(values.begin(), values.end());
  EXPECT_EQ(values, (std::vector<std::string>{"deeper", "elsewhere", "second"}));
}

TEST_P(CookieStoreContract, AnEmptyDomainStillCompletes) {
  Cookie nowhere = cookie("nowhere");
  nowhere.domain = "";
  set(nowhere);
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, CookieStoreContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
