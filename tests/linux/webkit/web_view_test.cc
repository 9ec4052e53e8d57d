// User agent, cookies, loading and reloading of the web view.

#include <atomic>

#include "tests/linux/webkit/page.h"
#include "tests/support/permissive_delegate.h"

namespace orvel {
namespace {

const LoopbackServer::Handler respondWithPage =
    respondWith(okResponse("<body>page", "Content-Type: text/html\r\n"));

/// Ends every connection with a reset.
void respondWithReset(LoopbackConnection &connection, const std::string & /*head*/) {
  connection.reset();
}

class WebViewLoading : public WebViewTest {
 public:
  // Before the delegate is destroyed.
  ~WebViewLoading() override { view.reset(); }

 protected:
  static WebViewConfiguration ephemeral(const std::string &applicationName = "ORVELOS/") {
    return {.applicationNameForUserAgent = applicationName, .persistentDataStore = false};
  }
  void makeView(const WebViewConfiguration &configuration = ephemeral()) {
    view = std::move(platform->interfaces().windows.create({}, configuration, delegate).web);
  }
  void showHtml(const std::string &text) {
    view->loadHtml("<body>" + text + "</body>");
    ASSERT_TRUE(waitForText(text));
    ASSERT_TRUE(runUntil([&] { return webkit_web_view_is_loading(webKitView()) == FALSE; }));
  }
  /// Changes the shown text, so that a reload is visible.
  void changeText() {
    evaluate("document.body.innerText = 'changed'");
    ASSERT_TRUE(waitForText("changed"));
  }

  PermissiveDelegate delegate;
};

Cookie cookieOf(const std::string &value, const std::string &domain) {
  Cookie cookie;
  cookie.name = "orvelapp";
  cookie.value = value;
  cookie.domain = domain;
  cookie.path = "/";
  return cookie;
}

TEST_F(WebViewLoading, UserAgentEndsInApplicationName) {
  for (const std::string name : {"ORVELOS/", "ORVELOS/a/b", "ORVELOS/k3y", "ORVELOS/a b=="}) {
    const LoopbackServer server(respondWithPage);
    makeView(ephemeral(name));
    loadUrl(server.url());
    ASSERT_TRUE(waitForText("page"));
    const std::string sent = headerField(server.heads().at(0), "User-Agent");
    EXPECT_TRUE(sent.ends_with(" " + name)) << sent;
    EXPECT_NE(sent.find("AppleWebKit/"), std::string::npos) << sent;
    EXPECT_EQ(" " + evaluate("navigator.userAgent").value_or(""), sent);
  }
}

TEST_F(WebViewLoading, DeveloperExtrasFollowEitherConfiguration) {
  for (const bool extras : {false, true}) {
    for (const bool inspectable : {false, true}) {
      WebViewConfiguration configuration = ephemeral();
      configuration.developerExtrasEnabled = extras;
      configuration.inspectable = inspectable;
      makeView(configuration);
      WebKitSettings *settings = webkit_web_view_get_settings(webKitView());
      EXPECT_EQ(webkit_settings_get_enable_developer_extras(settings) != FALSE,
                extras || inspectable);
    }
  }
}

TEST_F(WebViewLoading, FirstRequestCarriesCookieThatWasSetBefore) {
  const LoopbackServer server(respondWithPage);
  makeView();
  view->cookieStore().set(cookieOf("a/b=c", "127.0.0.1"), [&] { loadUrl(server.url()); });
  ASSERT_TRUE(waitForText("page"));
  EXPECT_EQ(headerField(server.heads().at(0), "Cookie"), " orvelapp=a/b=c");
}

TEST_F(WebViewLoading, PersistentCookieSurvivesRestart) {
  Cookie cookie = cookieOf("value", "example.test");
  cookie.expires = platform->interfaces().clock.now() + std::chrono::hours(1);
  bool stored = false;
  makeView(WebViewConfiguration{});
  view->cookieStore().set(cookie, [&] { stored = true; });
  ASSERT_TRUE(runUntil([&] { return stored; }));

  view.reset();
  platform.reset();
  platform = makeLinuxContractPlatform();
  makeView(WebViewConfiguration{});
  std::optional<std::vector<Cookie>> cookies;
  view->cookieStore().all([&](std::vector<Cookie> found) { cookies = std::move(found); });
  ASSERT_TRUE(runUntil([&] { return cookies.has_value(); }));
  ASSERT_EQ(cookies->size(), 1U);
  EXPECT_EQ(cookies->at(0).value, "value");
}

TEST_F(WebViewLoading, ReloadAfterWebProcessTerminatedDuringLoadSendsRequestAgain) {
  std::atomic<int> requests = 0;
  const LoopbackServer server([&](LoopbackConnection &connection, const std::string &head) {
    // The first request gets no response.
    if (requests++ == 0) return connection.waitForClose();
    respondWithPage(connection, head);
  });
  makeView();
  showHtml("empty");
  loadUrl(server.url());
  ASSERT_TRUE(runUntil([&] { return requests == 1; }));
  webkit_web_view_terminate_web_process(webKitView());
  view->reload();
  EXPECT_TRUE(waitForText("page"));
}

TEST_F(WebViewLoading, FailedLoadDoesNotCancelPrecedingHtml) {
  const LoopbackServer server(respondWithReset);
  makeView();
  showHtml("empty");
  view->loadHtml("<body>notice</body>");
  loadUrl(server.url());
  EXPECT_TRUE(waitForText("notice"));
  EXPECT_FALSE(server.heads().empty());
}

TEST_F(WebViewLoading, FailedLoadKeepsPageForReload) {
  const LoopbackServer server(respondWithReset);
  for (const std::string &url : {server.url(), refusedUrl()}) {
    makeView();
    showHtml("kept ⌘");
    bool finished = false;
    g_signal_connect(webKitView(), "load-changed",
                     G_CALLBACK(+[](WebKitWebView *, WebKitLoadEvent event, bool *flag) {
                       if (event == WEBKIT_LOAD_FINISHED) *flag = true;
                     }),
                     &finished);
    loadUrl(url);
    ASSERT_TRUE(runUntil([&] { return finished; }));
    EXPECT_TRUE(waitForText("kept ⌘"));
    g_signal_handlers_disconnect_by_data(webKitView(), &finished);
    changeText();
    view->reload();
    EXPECT_TRUE(waitForText("kept ⌘"));
  }
  EXPECT_EQ(server.heads().size(), 1U);
}

TEST_F(WebViewLoading, ReloadSendsRequestAgain) {
  const LoopbackServer server(respondWithPage);
  makeView();
  showHtml("first");
  loadUrl(server.url());
  ASSERT_TRUE(waitForText("page"));
  view->reload();
  EXPECT_TRUE(runUntil([&] { return server.heads().size() == 2; }));
}

}  // namespace
}  // namespace orvel
