#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/macos/webkit/wk_cookie_store.h"
#include "platform/web_view.h"

namespace orvel {

/// A page in a WKWebView. Main thread only.
class WKPageView final : public WebView {
 public:
  /// Makes the bridge the navigation and UI delegate of the view. The bridge forwards the
  /// calls to `delegate`.
  WKPageView(const WebViewConfiguration &configuration, AppDelegateBridge *bridge,
             WebViewDelegate &delegate);

  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override;
  CookieStore &cookieStore() override { return cookies_; }

  /// Returns the view, for the window that shows it.
  WKWebView *view() const { return view_; }

 private:
  WKWebView *const view_;
  WKCookieStore cookies_;
};

}  // namespace orvel
