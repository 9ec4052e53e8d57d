#include <algorithm>

#include "tests/contract/contract_platform.h"
#include "tests/support/permissive_delegate.h"

namespace orvel {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

class CookieStoreContract : public ContractTest {
 protected:
  /// Returns a cookie like the one with the app key that the core sets, but without an expiry date.
  static Cookie sessionCookie(const std::string &value) {
    return {.name = "orvelapp", .value = value, .domain = "127.0.0.1", .path = "/", .expires = {}};
  }

  void setAndWait(const Cookie &cookie) {
    int completions = 0;
    view->cookieStore().set(cookie, [&] {
      EXPECT_TRUE(platform->onMainThread());
      ++completions;
    });
    EXPECT_EQ(completions, 0) << "the completion ran inside the call";
    ASSERT_TRUE(runUntil([&] { return completions > 0; }));
    // A second call of the completion would arrive before the reply to this request.
    allCookies();
    EXPECT_EQ(completions, 1);
  }

  std::vector<Cookie> allCookies() {
    std::optional<std::vector<Cookie>> found;
    view->cookieStore().all([&](std::vector<Cookie> cookies) {
      EXPECT_TRUE(platform->onMainThread());
      EXPECT_FALSE(found) << "the completion was called twice";
      found = std::move(cookies);
    });
    EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
    return found.value_or(std::vector<Cookie>());
  }

  PermissiveDelegate delegate;
  const WebWindow window = [this] {
    WebViewConfiguration configuration;
    configuration.persistentDataStore = false;
    return platform->interfaces().windows.create({}, configuration, delegate);
  }();
  WebView *const view = window.web.get();
};

TEST_P(CookieStoreContract, NewStoreIsEmpty) { EXPECT_TRUE(allCookies().empty()); }

TEST_P(CookieStoreContract, CookieIsReturnedWithAllAttributes) {
  // The core's cookie lasts this long. A store may keep only whole seconds.
  constexpr auto fiveYears = std::chrono::hours(5 * 365 * 24);
  Cookie persistent = sessionCookie("a key/with = signs");
  persistent.secure = true;
  persistent.expires = std::chrono::floor<seconds>(platform->interfaces().clock.now()) + fiveYears;
  // The second cookie replaces the first.
  for (const Cookie &original : {sessionCookie("session"), persistent}) {
    setAndWait(original);
    const auto cookies = allCookies();
    ASSERT_EQ(cookies.size(), 1U);
    EXPECT_EQ(cookies[0].name, original.name);
    EXPECT_EQ(cookies[0].value, original.value);
    EXPECT_EQ(cookies[0].domain, original.domain);
    EXPECT_EQ(cookies[0].path, original.path);
    EXPECT_EQ(cookies[0].secure, original.secure) << original.value;
    EXPECT_EQ(cookies[0].expires, original.expires) << original.value;
  }
}

TEST_P(CookieStoreContract, CookieReplacesCookieOfSameNameOnlyWithSameDomainAndPath) {
  setAndWait(sessionCookie("first"));
  Cookie otherDomain = sessionCookie("other domain");
  otherDomain.domain = "localhost";
  setAndWait(otherDomain);
  Cookie otherPath = sessionCookie("other path");
  otherPath.path = "/api";
  setAndWait(otherPath);
  setAndWait(sessionCookie("second"));

  std::vector<std::string> values;
  for (const Cookie &one : allCookies()) values.push_back(one.value);
  std::sort(values.begin(), values.end());
  EXPECT_EQ(values, (std::vector<std::string>{"other domain", "other path", "second"}));
}

TEST_P(CookieStoreContract, CookieWithEmptyDomainCallsCompletion) {
  Cookie withoutDomain = sessionCookie("value");
  withoutDomain.domain = "";
  setAndWait(withoutDomain);
}

INSTANTIATE_ON_EVERY_PLATFORM(CookieStoreContract);

}  // namespace
}  // namespace orvel
