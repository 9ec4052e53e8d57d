// The contract of the core with the web view of a desktop: a page acts in the real web view, whose
// delegate is the core. The server of the page records the requests.

#include <gmock/gmock.h>

#include "app/app_delegate.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"
#include "tests/support/permissive_delegate.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// Returns a page with an HTML body. Its script runs after loading, in an asynchronous function.
std::string pageWith(const std::string &body, const std::string &script) {
  return "<!doctype html><body>" + body + "<script>onload = async () => {" + script +
         "}</script></body>";
}

/// The core on a desktop platform, with a server of the test in place of the Node.js server whose
/// pages the application shows.
class PageContract : public ContractTest {
 public:
  ~PageContract() override {
    if (!core) return;
    // The core lives as long as the main queue, whose timers own it. Its window and web view
    // must be destroyed before the platform.
    core->window.reset();
    core->web.reset();
  }

 protected:
  /// Starts the server, which serves this page at "/page". Every other page requests "/shown" with
  /// its own path appended, and has status 404, so that a download of it is not saved.
  void startServer(const std::string &html) {
    server = std::make_unique<LoopbackServer>([html](LoopbackConnection &connection,
                                                     const std::string &head) {
      const std::string fields =
          "Content-Type: text/html; charset=utf-8\r\nCache-Control: no-store\r\n";
      connection.send(head.starts_with("GET /page ")
                          ? okResponse(html, fields)
                          : response("404 Not Found",
                                     pageWith("", "fetch('/shown' + location.pathname)"), fields));
    });
  }
  /// Launches the core and loads a page of the server.
  void showPage(const std::string &html) {
    startServer(html);
    Settings settings;
    settings.HOME = folder.path();
    // The folder has no v3/server.mjs, so the core starts no server. It shows an error page, which
    // the page of the test replaces.
    settings.ROOT = folder.path();
    settings.LOCAL_URL = server->url();
    core = std::make_shared<AppDelegate>(settings, platform->interfaces());
    platform->interfaces().application.setDelegate(*core);
    core->applicationDidFinishLaunching();
    core->web->load(requestOf(server->url("/page")));
  }

  std::vector<std::string> requestsFor(const std::string &path) const {
    std::vector<std::string> found = server->heads();
    std::erase_if(found,
                  [&](const std::string &head) { return !head.starts_with("GET " + path + " "); });
    return found;
  }
  bool waitForRequests(const std::string &path, std::size_t count = 1) {
    return runUntil([&] { return requestsFor(path).size() >= count; });
  }
  /// Expects one request for a path, by the core (only its requests have the app key in the field
  /// X-ORVEL-App), and that the page at the path is not shown.
  void expectDownloadedByCore(const std::string &path) {
    EXPECT_TRUE(waitForRequests(path)) << path;
    ASSERT_EQ(requestsFor(path).size(), 1U) << path;
    EXPECT_NE(headerField(requestsFor(path)[0], "X-ORVEL-App"), "(absent)") << path;
    EXPECT_THAT(requestsFor("/shown" + path), IsEmpty());
  }

  /// Calls a function with the texts of the next alert, which the function must answer. Polls
  /// from the main queue, because an open alert may block runUntil() until it is answered.
  void whenAlertOpens(const std::function<void(const ShownAlert &)> &answer) {
    queue().after(milliseconds(10), [this, answer] {
      if (!platform->isAlertOpen()) return whenAlertOpens(answer);
      answer(platform->shownAlert());
    });
  }

  /// Shows a page with a confirm dialog, presses a button of the dialog, and expects the value that
  /// confirm() returns to the page. The core's buttons are "OK" and "Annuleren" ("Cancel").
  void expectConfirmReturns(const std::string &caption, const std::string &result) {
    showPage(pageWith("", "fetch('/result/' + confirm('Sure?'));"));
    whenAlertOpens([&](const ShownAlert &alert) {
      EXPECT_EQ(alert, (ShownAlert{"Sure?", "", {"OK", "Annuleren"}, "OK"}));
      platform->pressButton(caption);
    });
    EXPECT_TRUE(waitForRequests("/result/" + result));
  }

  const TemporaryFolder folder;
  std::unique_ptr<LoopbackServer> server;
  std::shared_ptr<AppDelegate> core;
};

TEST_P(PageContract, UrlOfAnotherOriginOpensInDefaultApplication) {
  const LoopbackServer other(respondWith(okResponse("other")));
  showPage(pageWith("<a id=link href=" + other.url("/link") +
                        "></a><a id=blank target=_blank href=" + other.url("/blank") +
                        "></a><iframe src=" + other.url("/frame") + "></iframe>",
                    "link.click(); blank.click(); open('" + other.url("/script") +
                        "'); setInterval(() => fetch('/alive'), 50);"));
  ASSERT_TRUE(runUntil([&] { return platform->opened().size() >= 4; }));
  EXPECT_THAT(platform->opened(), UnorderedElementsAre(other.url("/link"), other.url("/blank"),
                                                       other.url("/frame"), other.url("/script")));
  // The first new request may have been sent before the links were followed.
  const std::size_t before = requestsFor("/alive").size();
  EXPECT_TRUE(waitForRequests("/alive", before + 2)) << "the page is no longer shown";
  EXPECT_THAT(other.heads(), IsEmpty());
}

TEST_P(PageContract, LinkWithinServerLoadsPage) {
  showPage(pageWith("<a id=link href=/next></a>", "link.click();"));
  EXPECT_TRUE(waitForRequests("/shown/next"));
  EXPECT_EQ(requestsFor("/next").size(), 1U);
  EXPECT_THAT(platform->opened(), IsEmpty());
}

// The web application serves its stored files under "/api/bestand/".
TEST_P(PageContract, FileIsShownInSubframeAndDownloadedInMainFrame) {
  showPage(
      pageWith("<iframe src=/api/bestand/frame></iframe><a id=link href=/api/bestand/link></a>",
               "link.click();"));
  expectDownloadedByCore("/api/bestand/link");
  EXPECT_TRUE(waitForRequests("/shown/api/bestand/frame"));
  EXPECT_EQ(requestsFor("/api/bestand/frame").size(), 1U);
}

TEST_P(PageContract, NewWindowWithinServerIsDownloaded) {
  showPage(pageWith("<a id=link target=_blank href=/link></a>", "link.click(); open('/script');"));
  expectDownloadedByCore("/link");
  expectDownloadedByCore("/script");
}

TEST_P(PageContract, AlertBlocksPageUntilAnswered) {
  showPage(pageWith("", "alert('Hé <b>&amp;'); fetch('/after');"));
  whenAlertOpens([&](const ShownAlert &alert) {
    EXPECT_EQ(alert.message, "Hé <b>&amp;");
    EXPECT_EQ(alert.buttons, std::vector{alert.defaultButton});
    EXPECT_THAT(requestsFor("/after"), IsEmpty());
    platform->pressButton(alert.defaultButton);
  });
  EXPECT_TRUE(waitForRequests("/after"));
}

TEST_P(PageContract, ConfirmReturnsTrueForFirstButton) { expectConfirmReturns("OK", "true"); }

TEST_P(PageContract, ConfirmReturnsFalseForSecondButton) {
  expectConfirmReturns("Annuleren", "false");
}

TEST_P(PageContract, PageIsReloadedAfterCrashOfItsProcess) {
  showPage(pageWith("", "fetch('/loaded');"));
  ASSERT_TRUE(waitForRequests("/loaded"));
  platform->killPageProcess();
  EXPECT_TRUE(waitForRequests("/loaded", 2));
  EXPECT_EQ(requestsFor("/page").size(), 2U);
}

/// A delegate that shows no JavaScript dialogs: it destroys their completions without calling them,
/// after the call that requests the dialog has returned.
class DroppingDelegate final : public PermissiveDelegate {
 public:
  explicit DroppingDelegate(MainQueue &queue) : queue_(queue) {}

  void runJavaScriptAlertPanel(const std::string & /*message*/,
                               std::function<void()> completion) override {
    queue_.post([completion] {});
  }
  void runJavaScriptConfirmPanel(const std::string & /*message*/,
                                 std::function<void(bool)> completion) override {
    queue_.post([completion] {});
  }

 private:
  MainQueue &queue_;
};

TEST_P(PageContract, DialogWithDroppedCompletionReturnsFalse) {
  startServer(pageWith("", "alert('x'); fetch('/result/' + confirm('Sure?'));"));
  DroppingDelegate delegate(queue());
  WebViewConfiguration configuration;
  configuration.persistentDataStore = false;
  const WebWindow window = platform->interfaces().windows.create({}, configuration, delegate);
  window.web->load(requestOf(server->url("/page")));
  EXPECT_TRUE(waitForRequests("/result/false"));
}

INSTANTIATE_ON_DESKTOP_PLATFORMS(PageContract);

}  // namespace
}  // namespace orvel
