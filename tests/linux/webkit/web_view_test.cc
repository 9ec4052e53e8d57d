#include "tests/linux/webkit/page.h"

namespace orvel {
namespace {

class WebViewLoading : public PageTest {
 protected:
  void showHtml(const std::string &text) {
    view->loadHtml("<body>" + text + "</body>");
    ASSERT_TRUE(waitForText(text));
    ASSERT_TRUE(runUntil([&] { return webkit_web_view_is_loading(webKitView()) == FALSE; }));
  }
  /// Allows another server than that of the test, and loads a URL of it.
  void loadUrlOfOtherServer(const std::string &url) {
    delegate.server = url;
    view->load(requestOf(url));
  }
};

/// Closes every connection with a reset.
void respondWithReset(LoopbackConnection &connection, const std::string & /*head*/) {
  connection.resetOnClose();
}

Cookie cookieOf(const std::string &value, const std::string &domain) {
  return {.name = "orvelapp", .value = value, .domain = domain, .path = "/", .expires = {}};
}

TEST_F(WebViewLoading, UserAgentEndsInApplicationName) {
  // The application appends its key, which may be any text, to "ORVELOS/".
  for (const std::string name : {"ORVELOS/", "ORVELOS/a/b", "ORVELOS/k3y", "ORVELOS/a b=="}) {
    WebViewConfiguration configuration = ephemeral();
    configuration.applicationNameForUserAgent = name;
    makeView(folder.path(), configuration);
    showPage("page");
    // The bytes after the colon, which begin with a space.
    const std::string sent = headerField(server.heads().back(), "User-Agent");
    EXPECT_TRUE(sent.ends_with(" " + name)) << sent;
    EXPECT_NE(sent.find("AppleWebKit/"), std::string::npos) << sent;
    EXPECT_EQ(" " + evaluate("navigator.userAgent").value_or(""), sent);
  }
}

TEST_F(WebViewLoading, EitherSettingEnablesDeveloperExtras) {
  for (const bool extras : {false, true}) {
    for (const bool inspectable : {false, true}) {
      WebViewConfiguration configuration = ephemeral();
      configuration.developerExtrasEnabled = extras;
      configuration.inspectable = inspectable;
      makeView(folder.path(), configuration);
      WebKitSettings *settings = webkit_web_view_get_settings(webKitView());
      EXPECT_EQ(webkit_settings_get_enable_developer_extras(settings) != FALSE,
                extras || inspectable)
          << extras << inspectable;
    }
  }
}

TEST_F(WebViewLoading, FirstRequestCarriesCookieThatWasSetBefore) {
  view->cookieStore().set(cookieOf("a/b=c", "127.0.0.1"), [&] { load("/first"); });
  ASSERT_TRUE(waitForText("content of /first"));
  EXPECT_EQ(headerField(server.heads().at(0), "Cookie"), " orvelapp=a/b=c");
}

TEST_F(WebViewLoading, NextViewHasPersistentCookie) {
  Cookie cookie = cookieOf("value", "example.test");
  cookie.expires = platform->interfaces().clock.now() + std::chrono::hours(1);
  bool stored = false;
  makeView(folder.path(), WebViewConfiguration());
  view->cookieStore().set(cookie, [&] { stored = true; });
  ASSERT_TRUE(runUntil([&] { return stored; }));

  // Destroyed before the next view is made, so that the two do not share a session.
  view.reset();
  makeView(folder.path(), WebViewConfiguration());
  std::optional<std::vector<Cookie>> cookies;
  view->cookieStore().all([&](std::vector<Cookie> found) { cookies = std::move(found); });
  ASSERT_TRUE(runUntil([&] { return cookies.has_value(); }));
  ASSERT_EQ(cookies->size(), 1U);
  EXPECT_EQ(cookies->at(0).value, "value");
}

TEST_F(WebViewLoading, ReloadAfterWebProcessTerminatedDuringLoadSendsRequestAgain) {
  showHtml("empty");
  load("/held/page");
  ASSERT_TRUE(runUntil([&] { return requestsTo("/held/page").size() == 1; }));
  webkit_web_view_terminate_web_process(webKitView());
  view->reload();
  ASSERT_TRUE(runUntil([&] { return requestsTo("/held/page").size() == 2; }));
  releaseHeldResponses();
  EXPECT_TRUE(waitForText("content of /page"));
}

TEST_F(WebViewLoading, FailedLoadDoesNotCancelPrecedingHtml) {
  const LoopbackServer resettingServer(respondWithReset);
  showHtml("empty");
  view->loadHtml("<body>notice</body>");
  loadUrlOfOtherServer(resettingServer.url());
  EXPECT_TRUE(waitForText("notice"));
  EXPECT_FALSE(resettingServer.heads().empty());
}

TEST_F(WebViewLoading, FailedLoadKeepsPageForReload) {
  const LoopbackServer resettingServer(respondWithReset);
  for (const std::string &url : {resettingServer.url(), refusedUrl()}) {
    showHtml("kept ⌘");
    runUntilLoadEnds([&] { loadUrlOfOtherServer(url); });
    EXPECT_TRUE(waitForText("kept ⌘"));
    // So that the reload is visible.
    evaluate("document.body.innerText = 'changed'");
    view->reload();
    EXPECT_TRUE(waitForText("kept ⌘"));
  }
  // The reload showed the kept page, and did not repeat the failed load.
  EXPECT_EQ(resettingServer.heads().size(), 1U);
}

}  // namespace
}  // namespace orvel
