#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/fake/fake_scheduler.h"
#include "platform/web_view.h"

namespace orvel {

/// A cookie store in memory that answers through the main queue.
class FakeCookieStore final : public CookieStore {
 public:
  explicit FakeCookieStore(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void set(const Cookie &cookie, std::function<void()> completion) override;
  void all(std::function<void(std::vector<Cookie>)> completion) override;

  std::vector<Cookie> cookies;
  /// How long storing takes.
  std::chrono::milliseconds delay{0};

 private:
  FakeScheduler &scheduler_;
};

/// A web view that shows nothing and remembers what it was given.
class FakeWebView final : public WebView {
 public:
  FakeWebView(FakeScheduler &scheduler, WebViewConfiguration configuration,
              WebViewDelegate &delegate, FakeCookieStore &cookies);

  void load(const UrlRequest &request) override;
  void loadHtml(std::string_view html) override;
  void reload() override;
  CookieStore &cookieStore() override { return cookies_; }

  const WebViewConfiguration configuration;
  /// For a test that plays the web engine.
  WebViewDelegate &delegate;
  /// What is shown: a page given as text, or the address that was loaded.
  std::string shownHtml;
  std::string shownUrl;

 private:
  FakeScheduler &scheduler_;
  FakeCookieStore &cookies_;
};

}  // namespace orvel
