#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/macos/webkit/wk_cookie_store.h"
#include "platform/web_view.h"

namespace orvel {

/// A page shown by WebKit.
class WKPageView final : public WebView {
 public:
  /// The bridge becomes the delegate of the view and forwards its events to the delegate.
  WKPageView(const WebViewConfiguration &configuration, AppDelegateBridge *bridge,
             WebViewDelegate &delegate);

  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override;
  CookieStore &cookieStore() override { return cookies_; }

  WKWebView *view() const { return view_; }

 private:
  WKWebView *const view_;
  WKCookieStore cookies_;
};

}  // namespace orvel
