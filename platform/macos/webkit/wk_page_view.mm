#import "platform/macos/webkit/wk_page_view.h"

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace orvel {

namespace {

WKWebViewConfiguration *toWebKit(const WebViewConfiguration &configuration) {
  WKWebViewConfiguration *made = [[WKWebViewConfiguration alloc] init];
  made.websiteDataStore = configuration.persistentDataStore
                              ? WKWebsiteDataStore.defaultDataStore
                              : WKWebsiteDataStore.nonPersistentDataStore;
  made.applicationNameForUserAgent = toCocoa(configuration.applicationNameForUserAgent);
  // No public header declares this preference, so it is set by key-value coding.
  [made.preferences setValue:@(configuration.developerExtrasEnabled)
                      forKey:@"developerExtrasEnabled"];
  return made;
}

}  // namespace

WKPageView::WKPageView(const WebViewConfiguration &configuration, AppDelegateBridge *bridge,
                       WebViewDelegate &delegate)
    : view_([[WKWebView alloc] initWithFrame:NSZeroRect configuration:toWebKit(configuration)]),
      cookies_(view_.configuration.websiteDataStore.httpCookieStore) {
  bridge.page = &delegate;
  view_.navigationDelegate = bridge;
  view_.UIDelegate = bridge;
  // No public header declares this property either.
  [view_ setValue:@(configuration.drawsBackground) forKey:@"drawsBackground"];
  if (@available(macOS 13.3, *)) view_.inspectable = configuration.inspectable;
}

void WKPageView::load(const UrlRequest &request) { [view_ loadRequest:toCocoa(request)]; }

void WKPageView::loadHtml(std::string_view html) {
  [view_ loadHTMLString:toCocoa(html) baseURL:nil];
}

void WKPageView::reload() { [view_ reload]; }

}  // namespace orvel
