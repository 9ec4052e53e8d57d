#pragma once

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/glib/async_callback.h"
#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/webkit/webkit_web_view.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"
#include "tests/support/posix_test_support.h"

namespace orvel {

/// A delegate that records its calls. Its policy is like that of the application for stored files
/// and exports: it allows URLs below "/file/" only in sub-frames, and "/export" and other servers
/// nowhere.
class PageDelegate final : public WebViewDelegate {
 public:
  NavigationPolicy decidePolicy(const NavigationAction &action) override {
    decidedNavigations.push_back(describe(action));
    const NavigationPolicy policy = policyFor(action);
    if (policy == NavigationPolicy::cancel) cancelled.push_back(decidedNavigations.back());
    return policy;
  }
  NavigationPolicy policyFor(const NavigationAction &action) const override {
    lastPolicyQuery = describe(action);
    if (!action.url) return NavigationPolicy::cancel;
    const bool isOwnServerOrAbout =
        action.url->scheme == "about" || action.url->absoluteString.starts_with(server);
    const bool isFile = action.url->path.starts_with("/file/");
    const bool isExcluded =
        action.url->path == "/export" || (isFile && action.target != NavigationTarget::subFrame);
    return isOwnServerOrAbout && !isExcluded ? NavigationPolicy::allow : NavigationPolicy::cancel;
  }
  void createWebView(const std::optional<Url> &url) override {
    newWindows.push_back(describe(url));
  }
  void startDownload(const std::optional<Url> &url, bool hasUserGesture) override {
    downloads.push_back((hasUserGesture ? "user " : "script ") + describe(url));
  }
  void runJavaScriptAlertPanel(const std::string &message,
                               std::function<void()> completion) override {
    panels.push_back("alert " + message);
    panelCompletions.emplace_back([completion = std::move(completion)](bool) { completion(); });
  }
  void runJavaScriptConfirmPanel(const std::string &message,
                                 std::function<void(bool)> completion) override {
    panels.push_back("confirm " + message);
    panelCompletions.push_back(std::move(completion));
  }
  void webViewWebContentProcessDidTerminate() override {}

  /// The address of the only allowed server, with a slash at its end. Its URLs are recorded as
  /// paths.
  std::string server;
  /// The targets and URLs of the calls of `decidePolicy`, such as "mainFrame /page".
  std::vector<std::string> decidedNavigations;
  /// Those of `decidedNavigations` that were cancelled.
  std::vector<std::string> cancelled;
  /// The URLs of the calls of `createWebView`, such as "/page", or "(none)" without a URL.
  std::vector<std::string> newWindows;
  /// The causes and URLs of the calls of `startDownload`, such as "user /page" or "script /page".
  std::vector<std::string> downloads;
  /// The kinds and messages of the panels, such as "alert Hello".
  std::vector<std::string> panels;
  std::vector<std::function<void(bool isConfirmed)>> panelCompletions;
  /// The target and URL of the last call of `policyFor`. The view calls it for the main frame and
  /// for a sub-frame, to find out whether the decision depends on the frame.
  mutable std::string lastPolicyQuery;

 private:
  std::string describe(const NavigationAction &action) const {
    // In the order of NavigationTarget.
    constexpr const char *targets[] = {"mainFrame ", "subFrame ", "newWindow "};
    return targets[static_cast<int>(action.target)] + describe(action.url);
  }
  std::string describe(const std::optional<Url> &url) const {
    if (!url) return "(none)";
    const bool isOwnServer = url->absoluteString.starts_with(server);
    return isOwnServer ? url->absoluteString.substr(server.size() - 1) : url->absoluteString;
  }
};

/// A test with a web view and a server. The server's response for a path is the page that the
/// test has set for it, and otherwise "content of " and the path. "/redirect/302/x" redirects to
/// "/x" with status 302. "/held/x" waits for `releaseHeldResponses` and responds like "/x".
class PageTest : public testing::Test {
 public:
  PageTest() {
    delegate.server = server.url();
    makeView(folder.path());
  }
  ~PageTest() override { releaseHeldResponses(); }

 protected:
  using Strings = std::vector<std::string>;

  /// Returns a configuration without persistent data.
  static WebViewConfiguration ephemeral() {
    WebViewConfiguration configuration;
    configuration.persistentDataStore = false;
    return configuration;
  }

  /// Replaces the view by a new one with this data and cache folder.
  void makeView(const std::filesystem::path &dataFolder,
                const WebViewConfiguration &configuration = ephemeral()) {
    const WebViewEnvironment environment{.dataFolder = dataFolder, .cacheFolder = dataFolder};
    view = std::make_unique<WebKitPageView>(configuration, environment, delegate);
  }

  WebKitWebView *webKitView() const { return WEBKIT_WEB_VIEW(view->widget()); }

  bool runUntil(const std::function<bool()> &condition) { return platform->runUntil(condition); }

  void load(const std::string &path) { view->load(requestOf(server.url(path))); }

  /// Calls a function that starts a load of the main frame, and waits until the load succeeds or
  /// fails.
  void runUntilLoadEnds(const std::function<void()> &startLoad) {
    // A page can be complete before its load ends. That end must not count for the new load.
    ASSERT_TRUE(runUntil([&] { return webkit_web_view_is_loading(webKitView()) == FALSE; }));
    bool hasEnded = false;
    const SignalConnection loadChanged(
        webKitView(), "load-changed", &hasEnded, +[](bool *ended, WebKitLoadEvent event) {
          if (event == WEBKIT_LOAD_FINISHED) *ended = true;
        });
    startLoad();
    ASSERT_TRUE(runUntil([&] { return hasEnded; }));
  }

  /// Returns the result of a script in the page as text, or nullopt when the script fails.
  /// WebKit treats the script as a user gesture.
  std::optional<std::string> evaluate(const std::string &script) {
    struct Evaluation {
      bool isDone = false;
      std::optional<std::string> result;
    };
    // Shared, because the callback may run after this function has timed out.
    const auto evaluation = std::make_shared<Evaluation>();
    const auto finish = [evaluation](GObject *source, GAsyncResult *result) {
      evaluation->isDone = true;
      const auto value = adopt(
          webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, nullptr));
      if (value) evaluation->result = GlibText(jsc_value_to_string(value.get())).get();
    };
    webkit_web_view_evaluate_javascript(webKitView(), script.c_str(), -1, nullptr, nullptr, nullptr,
                                        callAsyncFunction, asyncFunctionData(finish));
    EXPECT_TRUE(runUntil([&] { return evaluation->isDone; })) << script;
    return evaluation->result;
  }

  /// Runs a script in the page repeatedly until it returns a text. Expects that it does so in time.
  bool waitForResult(const std::string &script, const std::string &text) {
    std::optional<std::string> last;
    const bool succeeded =
        posix_test::eventually([&] { return (last = evaluate(script)) == text; });
    EXPECT_TRUE(succeeded) << script << " returned " << last.value_or("nothing");
    return succeeded;
  }

  /// Waits until the page shows a text and nothing else.
  bool waitForText(const std::string &text) {
    return waitForResult("document.body ? document.body.innerText.trim() : ''", text);
  }

  /// Loads a page with this source and waits until it is complete.
  void showPage(const std::string &html) {
    const std::string path = "/page" + std::to_string(++uniqueNumber_);
    setPage(path, html);
    load(path);
    ASSERT_TRUE(waitForResult("location.pathname + document.readyState", path + "complete"));
  }

  void setPage(const std::string &path, const std::string &body,
               const std::string &mediaType = "text/html") {
    const std::lock_guard lock(mutex_);
    responses_[path] = pageResponse(body, mediaType);
  }

  void releaseHeldResponses() {
    const std::lock_guard lock(mutex_);
    isReleased_ = true;
    released_.notify_all();
  }

  /// Waits until the server has received the requests that the page has sent: sends an additional
  /// request and waits for it. WebKit sends the requests of a page in order. The server has a
  /// thread for each connection, so a request sent immediately before the additional one may,
  /// rarely, be recorded after it.
  bool waitUntilRequestsArrived() {
    const std::string barrier = "/barrier" + std::to_string(++uniqueNumber_);
    // The result is 0, because WebKit cannot pass a promise to this process.
    evaluate("fetch('" + barrier + "'); 0");
    return runUntil([&] { return !requestsTo(barrier).empty(); });
  }

  /// Returns the methods and targets of the requests whose target starts with the prefix, in
  /// the order of their arrival, such as "GET /page/1".
  Strings requestsTo(const std::string &prefix) const {
    Strings found;
    for (const std::string &head : server.heads()) {
      if (targetOf(head).starts_with(prefix)) found.push_back(head.substr(0, head.find(" HTTP/")));
    }
    return found;
  }

  /// Waits until the delegate has cancelled these navigations, such as "mainFrame /page". Expects
  /// no other cancelled navigation, no new window and no download. Forgets the navigations.
  void expectCancelled(const Strings &navigations) {
    EXPECT_TRUE(runUntil([&] { return delegate.cancelled.size() >= navigations.size(); }));
    EXPECT_TRUE(waitUntilRequestsArrived());
    EXPECT_EQ(delegate.cancelled, navigations);
    EXPECT_EQ(delegate.newWindows, Strings());
    EXPECT_EQ(delegate.downloads, Strings());
    delegate.cancelled.clear();
  }

  /// Waits until the delegate gets the URL of a new window. Expects no other new window. Forgets
  /// the window.
  void expectNewWindow(const std::string &address) {
    EXPECT_TRUE(runUntil([&] { return !delegate.newWindows.empty(); }));
    EXPECT_TRUE(waitUntilRequestsArrived());
    EXPECT_EQ(delegate.newWindows, Strings{address});
    delegate.newWindows.clear();
  }

  /// Waits until the delegate gets a download, such as "user /page". Expects no other download
  /// and no new window. Forgets the download.
  void expectDownload(const std::string &download) {
    EXPECT_TRUE(runUntil([&] { return !delegate.downloads.empty(); }));
    EXPECT_TRUE(waitUntilRequestsArrived());
    EXPECT_EQ(delegate.downloads, Strings{download});
    EXPECT_EQ(delegate.newWindows, Strings());
    delegate.downloads.clear();
  }

  const std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  const TemporaryFolder folder;
  PageDelegate delegate;
  std::unique_ptr<WebKitPageView> view;

 private:
  /// Returns the target (path and query) from the first line of a request.
  static std::string targetOf(const std::string &head) {
    const auto begin = head.find(' ') + 1;
    return head.substr(begin, head.find(" HTTP/") - begin);
  }

  static std::string pageResponse(const std::string &body,
                                  const std::string &mediaType = "text/html") {
    return okResponse(body, "Content-Type: " + mediaType + "\r\nCache-Control: no-store\r\n");
  }

  /// Sends the response to a request. On the connection's thread.
  void respond(LoopbackConnection &connection, const std::string &head) {
    std::string path = targetOf(head);
    std::unique_lock lock(mutex_);
    if (path.starts_with("/held/")) {
      released_.wait(lock, [this] { return isReleased_; });
      path = path.substr(std::string_view("/held").size());
    }
    const std::string_view redirect = "/redirect/";
    constexpr std::size_t statusLength = 3;
    if (path.starts_with(redirect)) {
      const std::string status = path.substr(redirect.size(), statusLength);
      connection.send(redirectTo(path.substr(redirect.size() + statusLength), status + " Moved"));
      return;
    }
    const auto found = responses_.find(path.substr(0, path.find('?')));
    connection.send(found != responses_.end() ? found->second : pageResponse("content of " + path));
  }

  mutable std::mutex mutex_;
  /// The responses that the test has set, by path.
  std::map<std::string, std::string> responses_;
  std::condition_variable released_;
  bool isReleased_ = false;
  int uniqueNumber_ = 0;

 protected:
  // The last member, so that its threads end before the other members are destroyed.
  const LoopbackServer server{[this](LoopbackConnection &connection, const std::string &head) {
    respond(connection, head);
  }};
};

/// A page with a sub-frame that shows "/frame".
inline const std::string pageWithFrame = "<iframe src=/frame></iframe>";
/// A script that clicks the link with the identifier "link" in the first sub-frame.
inline const std::string clickLinkInFrame = "frames[0].document.getElementById('link').click()";

/// A page and a script on it that starts a navigation.
struct NavigationCase {
  std::string name;
  std::string script;
  std::string html{};
  /// The source of the page at "/frame".
  std::string framePage{};
  /// The address to which the navigation leads.
  std::string address = "/file/1";
};

inline std::string caseName(const testing::TestParamInfo<NavigationCase> &info) {
  return info.param.name;
}

}  // namespace orvel
