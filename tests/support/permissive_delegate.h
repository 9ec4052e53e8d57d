#pragma once

#include "platform/web_view.h"

namespace orvel {

/// A delegate that allows every navigation and confirms every JavaScript panel. Ignores requests
/// for new windows and downloads.
class PermissiveDelegate : public WebViewDelegate {
 public:
  NavigationPolicy decidePolicy(const NavigationAction &action) override {
    return policyFor(action);
  }
  NavigationPolicy policyFor(const NavigationAction & /*action*/) const override {
    return NavigationPolicy::allow;
  }
  void createWebView(const std::optional<Url> & /*url*/) override {}
  void startDownload(const std::optional<Url> & /*url*/, bool /*hasUserGesture*/) override {}
  void runJavaScriptAlertPanel(const std::string & /*message*/,
                               std::function<void()> completion) override {
    completion();
  }
  void runJavaScriptConfirmPanel(const std::string & /*message*/,
                                 std::function<void(bool)> completion) override {
    completion(true);
  }
  void webViewWebContentProcessDidTerminate() override {}
};

}  // namespace orvel
