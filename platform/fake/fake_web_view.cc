#include "platform/fake/fake_web_view.h"

#include <algorithm>

#include "platform/fake/fake_http_session.h"

namespace orvel {

namespace {

std::string describe(const Cookie &cookie) {
  std::string text = cookie.name + "=" + cookie.value + " for " + cookie.domain + cookie.path;
  if (cookie.secure) text += " secure";
  return text;
}

bool sameCookie(const Cookie &one, const Cookie &other) {
  return one.name == other.name && one.domain == other.domain && one.path == other.path;
}

}  // namespace

void FakeCookieStore::set(const Cookie &cookie, std::function<void()> completion) {
  scheduler_.recordOnMainThread("cookie " + describe(cookie));
  scheduler_.schedule(
      FakeScheduler::Thread::main, delay, [this, cookie, completion = std::move(completion)] {
        std::erase_if(cookies, [&](const Cookie &other) { return sameCookie(cookie, other); });
        cookies.push_back(cookie);
        scheduler_.record().add("cookie stored");
        completion();
      });
}

void FakeCookieStore::all(std::function<void(std::vector<Cookie>)> completion) {
  scheduler_.recordOnMainThread("all cookies");
  scheduler_.schedule(FakeScheduler::Thread::main, delay,
                      [this, completion = std::move(completion)] { completion(cookies); });
}

FakeWebView::FakeWebView(FakeScheduler &scheduler, WebViewConfiguration webConfiguration,
                         WebViewDelegate &webDelegate, FakeCookieStore &cookies)
    : configuration(std::move(webConfiguration)),
      delegate(webDelegate),
      scheduler_(scheduler),
      cookies_(cookies) {}

void FakeWebView::load(const UrlRequest &request) {
  scheduler_.recordOnMainThread("load " + orvel::describe(request));
  shownUrl = request.url.absoluteString;
  shownHtml.clear();
}

void FakeWebView::loadHtml(std::string_view html) {
  scheduler_.recordOnMainThread("load html " + std::string(html));
  shownHtml = html;
  shownUrl.clear();
}

}  // namespace orvel
