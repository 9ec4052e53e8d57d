// The contract of the cookie store of a web view.

#include <algorithm>

#include "tests/contract/contract_platform.h"
#include "tests/support/permissive_delegate.h"

namespace orvel {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

class CookieStoreContract : public ContractTest {
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
    EXPECT_EQ(completions, 0) << "the completion ran inside the call";
    ASSERT_TRUE(runUntil([&] { return completions > 0; }));
    // A second call of the completion would arrive before the reply to this request.
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
    EXPECT_TRUE(runUntil([&] { return found.has_value(); }));
    return found.value_or(std::vector<Cookie>());
  }

  PermissiveDelegate delegate;
  const WebWindow made = [this] {
    WebViewConfiguration configuration;
    configuration.applicationNameForUserAgent = "ORVELOS/";
    configuration.persistentDataStore = false;
    return platform->interfaces().windows.create({}, configuration, delegate);
  }();
  WebView *const view = made.web.get();
};

TEST_P(CookieStoreContract, NewStoreIsEmpty) { EXPECT_TRUE(all().empty()); }

TEST_P(CookieStoreContract, CookieIsReturnedWithAllAttributes) {
  Cookie wanted = cookie("a key/with = signs");
  wanted.secure = true;
  wanted.expires =
      std::chrono::floor<seconds>(platform->interfaces().clock.now()) + seconds(157680000);
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

TEST_P(CookieStoreContract, SessionCookieStaysInsecureAndWithoutExpiry) {
  set(cookie("session"));
  const auto cookies = all();
  ASSERT_EQ(cookies.size(), 1U);
  EXPECT_FALSE(cookies[0].secure);
  EXPECT_EQ(cookies[0].expires, std::nullopt);
}

TEST_P(CookieStoreContract, CookieReplacesOnlySameNameDomainAndPath) {
  set(cookie("first"));
  Cookie otherDomain = cookie("other domain");
  otherDomain.domain = "localhost";
  set(otherDomain);
  Cookie otherPath = cookie("other path");
  otherPath.path = "/api";
  set(otherPath);
  set(cookie("second"));

  std::vector<std::string> values;
  for (const Cookie &one : all()) values.push_back(one.value);
  std::sort(values.begin(), values.end());
  EXPECT_EQ(values, (std::vector<std::string>{"other domain", "other path", "second"}));
}

TEST_P(CookieStoreContract, CookieWithEmptyDomainCallsCompletion) {
  Cookie withoutDomain = cookie("value");
  withoutDomain.domain = "";
  set(withoutDomain);
}

INSTANTIATE_ON_EVERY_PLATFORM(CookieStoreContract);

}  // namespace
}  // namespace orvel
