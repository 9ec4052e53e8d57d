#import "platform/macos/webkit/wk_page_view.h"

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"
#import "platform/macos/webkit/private_setting.h"

namespace orvel {

namespace {

WKWebViewConfiguration *toWebKit(const WebViewConfiguration &configuration) {
  WKWebViewConfiguration *result = [[WKWebViewConfiguration alloc] init];
  result.websiteDataStore = configuration.persistentDataStore
                                ? WKWebsiteDataStore.defaultDataStore
                                : WKWebsiteDataStore.nonPersistentDataStore;
  result.applicationNameForUserAgent = toCocoa(configuration.applicationNameForUserAgent);
  setPrivateSetting(result.preferences, @"developerExtrasEnabled",
                    configuration.developerExtrasEnabled);
  return result;
}

}  // namespace

WKPageView::WKPageView(const WebViewConfiguration &configuration, AppDelegateBridge *bridge,
                       WebViewDelegate &delegate)
    : view_([[WKWebView alloc] initWithFrame:NSZeroRect configuration:toWebKit(configuration)]),
      cookies_(view_.configuration.websiteDataStore.httpCookieStore) {
  bridge.webViewDelegate = &delegate;
  view_.navigationDelegate = bridge;
  view_.UIDelegate = bridge;
  setPrivateSetting(view_, @"drawsBackground", configuration.drawsBackground);
  if (@available(macOS 13.3, *)) view_.inspectable = configuration.inspectable;
}

void WKPageView::load(const UrlRequest &request) { [view_ loadRequest:toCocoa(request)]; }

void WKPageView::loadHtml(std::string_view html) {
  [view_ loadHTMLString:toCocoa(html) baseURL:nil];
}

void WKPageView::reload() { [view_ reload]; }

}  // namespace orvel
