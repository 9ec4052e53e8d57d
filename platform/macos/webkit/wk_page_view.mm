#import "platform/macos/webkit/wk_page_view.h"

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

/// Declares the setters behind two keys that no public header of WebKit declares.
@protocol PrivateSetters
- (void)_setDeveloperExtrasEnabled:(BOOL)enabled;
- (void)_setDrawsBackground:(BOOL)draws;
@end

namespace orvel {

namespace {

// -[NSObject setValue:forKey:] raises NSUnknownKeyException for a key without a setter, which
// would end the application at launch. A version of WebKit without one of these setters loses
// the setting instead.

void setDeveloperExtrasEnabled(WKPreferences *preferences, bool enabled) {
  if (![preferences respondsToSelector:@selector(_setDeveloperExtrasEnabled:)]) return;
  [preferences setValue:@(enabled) forKey:@"developerExtrasEnabled"];
}

void setDrawsBackground(WKWebView *view, bool draws) {
  if (![view respondsToSelector:@selector(_setDrawsBackground:)]) return;
  [view setValue:@(draws) forKey:@"drawsBackground"];
}

WKWebViewConfiguration *toWebKit(const WebViewConfiguration &configuration) {
  WKWebViewConfiguration *result = [[WKWebViewConfiguration alloc] init];
  result.websiteDataStore = configuration.persistentDataStore
                                ? WKWebsiteDataStore.defaultDataStore
                                : WKWebsiteDataStore.nonPersistentDataStore;
  result.applicationNameForUserAgent = toCocoa(configuration.applicationNameForUserAgent);
  setDeveloperExtrasEnabled(result.preferences, configuration.developerExtrasEnabled);
  return result;
}

}  // namespace

WKPageView::WKPageView(const WebViewConfiguration &configuration, AppDelegateBridge *bridge,
                       WebViewDelegate &delegate)
    : view_([[WKWebView alloc] initWithFrame:NSZeroRect configuration:toWebKit(configuration)]),
      cookies_(view_.configuration.websiteDataStore.httpCookieStore) {
  bridge.page = &delegate;
  view_.navigationDelegate = bridge;
  view_.UIDelegate = bridge;
  setDrawsBackground(view_, configuration.drawsBackground);
  if (@available(macOS 13.3, *)) view_.inspectable = configuration.inspectable;
}

void WKPageView::load(const UrlRequest &request) { [view_ loadRequest:toCocoa(request)]; }

void WKPageView::loadHtml(std::string_view html) {
  [view_ loadHTMLString:toCocoa(html) baseURL:nil];
}

void WKPageView::reload() { [view_ reload]; }

}  // namespace orvel
