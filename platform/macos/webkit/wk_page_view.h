#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/macos/webkit/wk_cookie_store.h"
#include "platform/web_view.h"

namespace orvel {

/// A page shown by WebKit.
class WKPageView final : public WebView {
 public:
  explicit WKPageView(WKWebView *view);

  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override;
  CookieStore &cookieStore() override { return cookies_; }

  WKWebView *view() const { return view_; }

 private:
  WKWebView *const view_;
  WKCookieStore cookies_;
};

class WKPageViewFactory final : public WebViewFactory {
 public:
  /// Every view has the bridge as its delegate, and keeps it no longer than the
  /// factory lives.
  explicit WKPageViewFactory(AppDelegateBridge *bridge) : bridge_(bridge) {}

  std::unique_ptr<WebView> create(const WebViewConfiguration &configuration,
                                  WebViewDelegate &delegate) override;

 private:
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
