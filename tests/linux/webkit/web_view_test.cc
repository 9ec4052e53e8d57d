// What WebKitGTK shows and sends, seen from the page and from its server.

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <atomic>
#include <memory>
#include <optional>

#include "platform/linux/webkit/webkit_web_view.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/loopback_server.h"
#include "tests/support/permissive_delegate.h"

namespace orvel {
namespace {

class LinuxWebView : public testing::TestWithParam<const char *> {
 protected:
  void makeView(const std::string &name, bool persistent = false) {
    WebViewConfiguration configuration;
    configuration.applicationNameForUserAgent = name;
    configuration.persistentDataStore = persistent;
    configuration.drawsBackground = false;
    view = std::move(platform->ports().windows.create({}, configuration, delegate).web);
  }

  void load(const std::string &url) {
    UrlRequest request;
    request.url = Url::parse(url).value();
    view->load(request);
  }

  /// What a script in the page gives as text, or nothing when it fails.
  std::optional<std::string> evaluate(const std::string &script) {
    struct Evaluation {
      bool done = false;
      std::optional<std::string> value;
    } evaluation;
    auto *page = WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget());
    webkit_web_view_evaluate_javascript(
        page, script.c_str(), -1, nullptr, nullptr, nullptr,
        +[](GObject *source, GAsyncResult *result, gpointer data) {
          auto *finished = static_cast<Evaluation *>(data);
          finished->done = true;
          const auto value =
              webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, nullptr);
          if (value == nullptr) return;
          char *text = jsc_value_to_string(value);
          finished->value = text;
          g_free(text);
          g_object_unref(value);
        },
        &evaluation);
    EXPECT_TRUE(platform->runUntil([&] { return evaluation.done; }));
    return evaluation.value;
  }

  bool shows(const std::string &text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end) {
      if (evaluate("document.body ? document.body.innerText.trim() : ''") == text) return true;
    }
    return false;
  }

  static void answerPage(LoopbackConnection &connection, const std::string &) {
    connection.send(answer("200 OK", "<body>pagina", "Content-Type: text/html\r\n"));
  }

  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  PermissiveDelegate delegate;
  std::unique_ptr<WebView> view;
};

TEST_P(LinuxWebView, TheUserAgentEndsInTheNameWhateverItHolds) {
  for (const std::string name : {"ORVELOS/", "ORVELOS/a/b", "ORVELOS/k3y", "ORVELOS/a b=="}) {
    LoopbackServer server(answerPage);
    makeView(name);
    load(server.url());
    ASSERT_TRUE(shows("pagina"));
    const std::string sent = fieldIn(server.heads().at(0), "User-Agent");
    EXPECT_TRUE(sent.ends_with(" " + name)) << sent;
    EXPECT_NE(sent.find("AppleWebKit/"), std::string::npos) << sent;
    EXPECT_EQ(" " + evaluate("navigator.userAgent").value_or(""), sent);
  }
}

TEST_P(LinuxWebView, TheFirstRequestAfterACookieCarriesIt) {
  LoopbackServer server(answerPage);
  makeView("ORVELOS/");
  Cookie cookie;
  cookie.name = "orvelapp";
  cookie.value = "a/b=c";
  cookie.domain = "127.0.0.1";
  cookie.path = "/";
  view->cookieStore().set(cookie, [&] { load(server.url()); });
  ASSERT_TRUE(shows("pagina"));
  EXPECT_EQ(fieldIn(server.heads().at(0), "Cookie"), " orvelapp=a/b=c");
}

TEST_P(LinuxWebView, APersistentCookieOutlivesThePlatform) {
  Cookie cookie;
  cookie.name = "kept";
  cookie.value = "value";
  cookie.domain = "example.test";
  cookie.path = "/";
  cookie.expires = platform->ports().clock.now() + std::chrono::hours(1);
  bool stored = false;
  makeView("ORVELOS/", true);
  view->cookieStore().set(cookie, [&] { stored = true; });
  ASSERT_TRUE(platform->runUntil([&] { return stored; }));

  view.reset();
  platform.reset();
  platform = makeLinuxContractPlatform();
  makeView("ORVELOS/", true);
  std::optional<std::vector<Cookie>> cookies;
  view->cookieStore().all([&](std::vector<Cookie> found) { cookies = std::move(found); });
  ASSERT_TRUE(platform->runUntil([&] { return cookies.has_value(); }));
  ASSERT_EQ(cookies->size(), 1U);
  EXPECT_EQ(cookies->at(0).name, "kept");
}

TEST_P(LinuxWebView, ReloadShowsAgainWhatWasGivenAsText) {
  makeView("ORVELOS/");
  view->loadHtml("<body>De OS-server reageert niet. ⌘</body>");
  ASSERT_TRUE(shows("De OS-server reageert niet. ⌘"));
  evaluate("document.body.innerText = 'veranderd'");
  ASSERT_TRUE(shows("veranderd"));
  view->reload();
  EXPECT_TRUE(shows("De OS-server reageert niet. ⌘"));
}

TEST_P(LinuxWebView, ReloadBeforeAPageIsThereAsksForItAgain) {
  std::atomic<int> requests = 0;
  LoopbackServer server([&](LoopbackConnection &connection, const std::string &head) {
    // The first one has an answer only when its connection is given up.
    if (requests++ == 0) return connection.waitForClient();
    answerPage(connection, head);
  });
  makeView("ORVELOS/");
  view->loadHtml("<body>leeg</body>");
  ASSERT_TRUE(shows("leeg"));
  load(server.url());
  ASSERT_TRUE(platform->runUntil([&] { return requests == 1; }));
  webkit_web_view_terminate_web_process(
      WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget()));
  view->reload();
  EXPECT_TRUE(shows("pagina"));
}

TEST_P(LinuxWebView, ALoadThatFailsLeavesThePageThatWasOnItsWay) {
  makeView("ORVELOS/");
  view->loadHtml("<body>leeg</body>");
  ASSERT_TRUE(shows("leeg"));
  const LoopbackServer server(
      [](LoopbackConnection &connection, const std::string &) { connection.reset(); });
  view->loadHtml("<body>melding</body>");
  load(server.url());
  EXPECT_TRUE(shows("melding"));
  EXPECT_FALSE(server.heads().empty());
}

TEST_P(LinuxWebView, ReloadAfterALoadThatFailedShowsThePageThatStayed) {
  makeView("ORVELOS/");
  view->loadHtml("<body>bleef</body>");
  ASSERT_TRUE(shows("bleef"));
  const LoopbackServer server(
      [](LoopbackConnection &connection, const std::string &) { connection.reset(); });
  load(server.url());
  ASSERT_TRUE(platform->runUntil([&] { return !server.heads().empty(); }));
  auto *page = WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget());
  ASSERT_TRUE(platform->runUntil([&] { return webkit_web_view_is_loading(page) == FALSE; }));
  evaluate("document.body.innerText = 'veranderd'");
  ASSERT_TRUE(shows("veranderd"));
  view->reload();
  EXPECT_TRUE(shows("bleef"));
}

TEST_P(LinuxWebView, ReloadAsksForAnAddressAgain) {
  LoopbackServer server(answerPage);
  makeView("ORVELOS/");
  view->loadHtml("<body>eerst</body>");
  ASSERT_TRUE(shows("eerst"));
  load(server.url());
  ASSERT_TRUE(shows("pagina"));
  view->reload();
  EXPECT_TRUE(platform->runUntil([&] { return server.heads().size() == 2; }));
}

TEST_P(LinuxWebView, ALoadThatFailsLeavesThePage) {
  makeView("ORVELOS/");
  view->loadHtml("<body>blijft</body>");
  ASSERT_TRUE(shows("blijft"));
  bool failed = false;
  auto *page = WEBKIT_WEB_VIEW(dynamic_cast<WebKitPageView &>(*view).widget());
  g_signal_connect(page, "load-changed",
                   G_CALLBACK(+[](WebKitWebView *, WebKitLoadEvent event, bool *flag) {
                     if (event == WEBKIT_LOAD_FINISHED) *flag = true;
                   }),
                   &failed);
  load("http://127.0.0.1:" + std::to_string(unusedPort()) + "/");
  ASSERT_TRUE(platform->runUntil([&] { return failed; }));
  EXPECT_TRUE(shows("blijft"));
}

INSTANTIATE_TEST_SUITE_P(WebKitGtk, LinuxWebView, testing::Values("Linux"),
                         [](const auto &platform) { return platform.param; });

}  // namespace
}  // namespace orvel
