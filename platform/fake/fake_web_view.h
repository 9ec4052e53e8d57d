#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/fake/fake_http_session.h"
#include "platform/fake/fake_scheduler.h"
#include "platform/web_view.h"

namespace orvel {

/// A cookie store in memory. Posts its completions to the main queue.
class FakeCookieStore final : public CookieStore, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void set(const Cookie &cookie, std::function<void()> completion) override {
    scheduler_.recordMainThreadCall("cookie " + cookie.name + "=" + cookie.value + " for " +
                                    cookie.domain + cookie.path + (cookie.secure ? " secure" : ""));
    scheduler_.schedule(FakeScheduler::Thread::main, delay,
                        [this, cookie, completion = std::move(completion)] {
                          std::erase_if(cookies, [&](const Cookie &other) {
                            return other.name == cookie.name && other.domain == cookie.domain &&
                                   other.path == cookie.path;
                          });
                          cookies.push_back(cookie);
                          scheduler_.record().add("cookie stored");
                          completion();
                        });
  }
  void all(std::function<void(std::vector<Cookie>)> completion) override {
    scheduler_.recordMainThreadCall("all cookies");
    scheduler_.schedule(FakeScheduler::Thread::main, delay,
                        [this, completion = std::move(completion)] { completion(cookies); });
  }

  std::vector<Cookie> cookies;
  /// The time until a completion is called.
  std::chrono::milliseconds delay{0};
};

/// A web view that only keeps the current page.
class FakeWebView final : public WebView, private SchedulerUser {
 public:
  FakeWebView(FakeScheduler &scheduler, WebViewConfiguration webConfiguration,
              WebViewDelegate &webDelegate, FakeCookieStore &cookies)
      : SchedulerUser(scheduler),
        configuration(std::move(webConfiguration)),
        delegate(webDelegate),
        cookies_(cookies) {}

  void load(const UrlRequest &request) override {
    scheduler_.recordMainThreadCall("load " + describe(request));
    shownUrl = request.url.absoluteString;
    shownHtml.clear();
  }
  void loadHtml(std::string_view html) override {
    scheduler_.recordMainThreadCall("load html " + std::string(html));
    shownHtml = html;
    shownUrl.clear();
  }
  void reload() override { scheduler_.recordMainThreadCall("reload"); }
  CookieStore &cookieStore() override { return cookies_; }

  const WebViewConfiguration configuration;
  /// Called by tests to simulate events of the web engine.
  WebViewDelegate &delegate;
  /// The current page after loadHtml, otherwise empty.
  std::string shownHtml;
  /// The URL of the current page after load, otherwise empty.
  std::string shownUrl;

 private:
  FakeCookieStore &cookies_;
};

}  // namespace orvel
