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

#include "platform/linux/webkit/webkit_web_view.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/loopback_server.h"
#include "tests/support/temporary_folder.h"

namespace orvel {

/// A web view whose page runs the scripts of a test. A derived class creates the view.
class WebViewTest : public testing::Test {
 protected:
  bool until(const std::function<bool()> &condition) { return platform->runUntil(condition); }
  void loadUrl(const std::string &url);
  /// Returns the result of a script in the page as text, or nullopt when the script fails.
  /// The page treats the script as a user gesture.
  std::optional<std::string> evaluate(const std::string &script);
  /// Waits until a script in the page returns a text.
  bool untilScript(const std::string &script, const std::string &text);
  /// Waits until the page shows a text and nothing else.
  bool untilText(const std::string &text);
  WebKitWebView *webKit() const;

  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  std::unique_ptr<WebView> view;
};

/// Records the calls of the view. Its policy: URLs below "/file/" are allowed only in
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
  /// Such as "mainFrame /page".
  std::vector<std::string> decisions;
  /// Those of the decisions that cancelled the navigation.
  std::vector<std::string> cancelled;
  /// The requested windows, such as "/page"; "(none)" without a URL.
  std::vector<std::string> windows;
  std::vector<std::string> panels;
  std::vector<std::function<void()>> alerts;
  std::vector<std::function<void(bool)>> confirms;
  /// The last question to `policyFor`.
  mutable std::string lastQuestion;

 private:
  std::string name(const NavigationAction &action) const;
  std::string name(const std::optional<Url> &url) const;
};

/// A view of pages of the test's own server. The body of a path is "content of " and the
/// path, unless the test sets a page. "/redirect/302/x" redirects to "/x", and the response
/// for a path below "/gate/" waits until the gate is opened.
class PageTest : public WebViewTest {
 protected:
  using Strings = std::vector<std::string>;

  PageTest();
  ~PageTest() override;

  /// Replaces the view by a new one with this data and cache folder.
  void makeView(const std::filesystem::path &dataFolder);
  void load(const std::string &path);
  /// Loads a page with this source and waits until it is complete.
  void show(const std::string &html);
  /// Waits until the server has received a request that the page sends now. Requests are
  /// sent in order, so those that the page sent before have arrived.
  bool settle();
  bool untilCancelled() {
    return until([this] { return !delegate.cancelled.empty(); });
  }
  /// Waits for a requested window, and expects no other.
  void expectWindow(const std::string &address);
  /// Returns the methods and targets of the requests that start with this text.
  Strings requests(const std::string &start) const;
  void setPage(const std::string &path, const std::string &html);
  void openGate();

  const TemporaryFolder folder;
  PageDelegate delegate;

 private:
  void respond(LoopbackConnection &connection, const std::string &head);

  mutable std::mutex mutex_;
  std::map<std::string, std::string> pages_;
  std::condition_variable gateOpens_;
  bool gateIsOpen_ = false;
  int marks_ = 0;

 protected:
  const LoopbackServer server;
};

}  // namespace orvel
