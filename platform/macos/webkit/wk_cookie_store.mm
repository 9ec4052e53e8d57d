#import "platform/macos/webkit/wk_cookie_store.h"

#include <utility>

#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {

namespace {

using WallClock = std::chrono::system_clock;
using Seconds = std::chrono::duration<NSTimeInterval>;

/// Returns the cookie, or nil when NSHTTPCookie rejects its properties.
NSHTTPCookie *toCocoa(const Cookie &cookie) {
  NSMutableDictionary<NSHTTPCookiePropertyKey, id> *properties = [@{
    NSHTTPCookieName : orvel::toCocoa(cookie.name),
    NSHTTPCookieValue : orvel::toCocoa(cookie.value),
    NSHTTPCookieDomain : orvel::toCocoa(cookie.domain),
    NSHTTPCookiePath : orvel::toCocoa(cookie.path),
  } mutableCopy];
  // Only set for a secure cookie: Foundation takes any value, even "FALSE", for true.
  if (cookie.secure) properties[NSHTTPCookieSecure] = @"TRUE";
  if (cookie.expires) {
    const Seconds since1970 = cookie.expires->time_since_epoch();
    properties[NSHTTPCookieExpires] = [NSDate dateWithTimeIntervalSince1970:since1970.count()];
  }
  return [NSHTTPCookie cookieWithProperties:properties];
}

Cookie fromCocoa(NSHTTPCookie *cookie) {
  Cookie result;
  result.name = orvel::fromCocoa(cookie.name);
  result.value = orvel::fromCocoa(cookie.value);
  result.domain = orvel::fromCocoa(cookie.domain);
  result.path = orvel::fromCocoa(cookie.path);
  result.secure = cookie.secure;
  if (NSDate *expires = cookie.expiresDate) {
    const Seconds since1970(expires.timeIntervalSince1970);
    result.expires =
        WallClock::time_point(std::chrono::duration_cast<WallClock::duration>(since1970));
  }
  return result;
}

}  // namespace

void WKCookieStore::set(const Cookie &cookie, std::function<void()> completion) {
  NSHTTPCookie *cocoaCookie = toCocoa(cookie);
  // Nothing to store. Reading the store instead keeps the completion asynchronous.
  if (cocoaCookie == nil) return all([completion](const auto &) { completion(); });
  [store_ setCookie:cocoaCookie
      completionHandler:^{
        completion();
      }];
}

void WKCookieStore::all(std::function<void(std::vector<Cookie>)> completion) {
  [store_ getAllCookies:^(NSArray<NSHTTPCookie *> *found) {
    std::vector<Cookie> cookies;
    for (NSHTTPCookie *cookie in found) cookies.push_back(fromCocoa(cookie));
    completion(std::move(cookies));
  }];
}

}  // namespace orvel
