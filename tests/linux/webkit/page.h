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

namespace orvel {

/// Writes down what a page asks for. Its policy: what lies below "/file/" is
/// shown in sub-frames alone, "/export" and other servers nowhere.
class PageDelegate final : public WebViewDelegate {
 public:
  NavigationPolicy decidePolicy(const NavigationAction &action) override;
  NavigationPolicy policyFor(const NavigationAction &action) const override;
  void createWebView(const std::optional<Url> &url) override;
  void runJavaScriptAlertPanel(const std::string &message,
                               std::function<void()> completion) override;
  void runJavaScriptConfirmPanel(const std::string &message,
                                 std::function<void(bool)> completion) override;
  void webViewWebContentProcessDidTerminate() override { ++terminations; }

  std::string server;
  /// Such as "mainFrame /page"; what is not on the server as a whole.
  std::vector<std::string> decisions;
  /// The cancelled ones among them.
  std::vector<std::string> cancelled;
  /// Likewise; "(none)" without a URL.
  std::vector<std::string> windows;
  std::vector<std::string> panels;
  std::vector<std::function<void()>> alerts;
  std::vector<std::function<void(bool)>> confirms;
  int terminations = 0;
  /// What policyFor was asked last.
  mutable std::string lastAsked;

 private:
  std::string name(const NavigationAction &action) const;
  std::string name(const std::optional<Url> &url) const;
};

/// A view of pages that come from a server of the test's own. Any path gives
/// "inhoud van" and the path, but for the pages that the test gives;
/// "/redirect/302/x" leads to "/x", and what begins with "/gate/" waits until
/// the gate is open.
class LinuxPage : public testing::TestWithParam<const char *> {
 public:
  LinuxPage();
  ~LinuxPage() override;

 protected:
  using Strings = std::vector<std::string>;

  /// Makes the view anew, with another folder for what it keeps.
  void makeView(const std::filesystem::path &cache);
  void load(const std::string &path);
  /// Loads a page with these contents and waits until all of it is there.
  void show(const std::string &html);
  /// What a script in the page gives as text, or nothing when it fails. The
  /// page takes it for a user's doing.
  std::optional<std::string> evaluate(const std::string &script);
  bool until(const std::function<bool()> &condition) { return platform->runUntil(condition); }
  /// Waits until a script in the page gives a text.
  bool untilPage(const std::string &script, const std::string &text);
  /// Waits until the page has made a request of its own after all it did before.
  bool settle();
  /// The paths, with methods, of the requests that begin like that.
  Strings requests(const std::string &start) const;
  void setPage(const std::string &path, const std::string &html);
  void openGate();
  WebKitWebView *webKit() const;

  /// For what the view keeps.
  const std::filesystem::path folder;
  std::unique_ptr<ContractPlatform> platform = makeLinuxContractPlatform();
  PageDelegate delegate;
  std::unique_ptr<WebView> view;

 private:
  void answerRequest(LoopbackConnection &connection, const std::string &head);

  mutable std::mutex mutex_;
  std::map<std::string, std::string> pages_;
  std::condition_variable gateOpens_;
  bool gateIsOpen_ = false;
  int marks_ = 0;

 protected:
  LoopbackServer server;
};

}  // namespace orvel
