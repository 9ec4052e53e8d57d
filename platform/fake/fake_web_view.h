#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/fake/fake_scheduler.h"
#include "platform/web_view.h"

namespace orvel {

/// A cookie store in memory. Posts its completions to the main queue.
class FakeCookieStore final : public CookieStore {
 public:
  explicit FakeCookieStore(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void set(const Cookie &cookie, std::function<void()> completion) override;
  void all(std::function<void(std::vector<Cookie>)> completion) override;

  std::vector<Cookie> cookies;
  /// The time until a completion is called.
  std::chrono::milliseconds delay{0};

 private:
  FakeScheduler &scheduler_;
};

/// A web view that only keeps the current page.
class FakeWebView final : public WebView {
 public:
  FakeWebView(FakeScheduler &scheduler, WebViewConfiguration configuration,
              WebViewDelegate &delegate, FakeCookieStore &cookies);

  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override { scheduler_.recordOnMainThread("reload"); }
  CookieStore &cookieStore() override { return cookies_; }

  const WebViewConfiguration configuration;
  /// A test calls it to simulate the web engine.
  WebViewDelegate &delegate;
  /// The current page, as HTML or as a URL. The other one is empty.
  std::string shownHtml;
  std::string shownUrl;

 private:
  FakeScheduler &scheduler_;
  FakeCookieStore &cookies_;
};

}  // namespace orvel
