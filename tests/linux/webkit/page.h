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
#include <vector>

#include "platform/linux/webkit/webkit_web_view.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/loopback_server.h"
#include "tests/support/temporary_folder.h"

namespace orvel {

/// A web view whose page runs the scripts of a test. A derived class creates the view.
class WebViewTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()> &condition) { return platform->runUntil(condition); }
  void loadUrl(const std::string &url);
  /// Returns the result of a script in the page as text, or nullopt when the script fails.
  /// WebKit treats the script as a user gesture.
  std::optional<std::string> evaluate(const std::string &script);
  /// Runs a script in the page again and again until it returns a text.
  bool waitForResult(const std::string &script, const std::string &text);
  /// Waits until the page shows a text and nothing else.
  bool waitForText(const std::string &text);
  WebKitWebView *webKitView() const;

  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  std::unique_ptr<WebView> view;
};

/// A delegate that records its calls. Its policy: URLs below "/file/" are allowed only in
/// sub-frames, and "/export" and other servers nowhere.
class PageDelegate final : public WebViewDelegate {
 public:
  NavigationPolicy decidePolicy(const NavigationAction &action) override;
  NavigationPolicy policyFor(const NavigationAction &action) const override;
  void createWebView(const std::optional<Url> &url) override;
  void runJavaScriptAlertPanel(const std::string &message,
                               std::function<void()> completion) override;
  void runJavaScriptConfirmPanel(const std::string &message,
                                 std::function<void(bool)> completion) override;
  void webViewWebContentProcessDidTerminate() override {}

  /// The address of the test's server, whose URLs are recorded as paths.
  std::string server;
  /// The targets and URLs, such as "mainFrame /page".
  std::vector<std::string> decisions;
  /// The decisions that cancelled a navigation.
  std::vector<std::string> cancelled;
  /// The URLs of the requested windows, such as "/page", or "(none)" without a URL.
  std::vector<std::string> requestedWindows;
  /// The kinds and messages of the panels, such as "alert Hello".
  std::vector<std::string> panels;
  std::vector<std::function<void()>> alertCompletions;
  std::vector<std::function<void(bool)>> confirmCompletions;
  /// The target and URL of the last call of `policyFor`.
  mutable std::string lastPolicyQuery;

 private:
  std::string name(const NavigationAction &action) const;
  std::string name(const std::optional<Url> &url) const;
};

/// A web view that shows pages of a server of the test. The body of a path is "content of "
/// and the path, unless the test sets a page. "/redirect/302/x" redirects to "/x" with this
/// status, and the response for a path below "/held/" waits for `releaseHeldResponses`.
class PageTest : public WebViewTest {
 public:
  PageTest();
  ~PageTest() override;

 protected:
  using Strings = std::vector<std::string>;

  /// Replaces the view by a new one with this data and cache folder.
  void makeView(const std::filesystem::path &dataFolder);
  void load(const std::string &path) { loadUrl(server.url(path)); }
  /// Loads a page with this source and waits until it is complete.
  void showPage(const std::string &html);
  void setPage(const std::string &path, const std::string &html);
  void releaseHeldResponses();
  /// Waits until the server has received all requests that the page has sent. The page sends
  /// one more request as a barrier, because its requests arrive in order.
  bool waitForSentRequests();
  /// Returns the methods and targets of the requests to this path and all that it begins,
  /// such as "GET /page/1".
  Strings requestsTo(const std::string &path) const;

  /// Waits for cancelled decisions. Expects no others and no requested window.
  void expectCancelled(const Strings &decisions);
  /// Waits for a requested window. Expects no others.
  void expectWindowRequest(const std::string &address);

  const TemporaryFolder folder;
  PageDelegate delegate;

 private:
  void respond(LoopbackConnection &connection, const std::string &head);

  mutable std::mutex mutex_;
  std::map<std::string, std::string> pages_;
  std::condition_variable released_;
  bool isReleased_ = false;
  int pageCount_ = 0;

 protected:
  const LoopbackServer server;
};

/// A page and a script on it that starts a navigation.
struct NavigationCase {
  std::string name;
  std::string script;
  std::string html{};
  /// The source of the page at "/frame".
  std::string framePage{};
  std::string address = "/file/1";
};

inline std::string caseName(const testing::TestParamInfo<NavigationCase> &info) {
  return info.param.name;
}

}  // namespace orvel
