#pragma once

#import <WebKit/WebKit.h>

#include "platform/web_view.h"

namespace orvel {

/// The cookies of a website data store. Main thread only.
class WKCookieStore final : public CookieStore {
 public:
  explicit WKCookieStore(WKHTTPCookieStore *store) : store_(store) {}

  /// Does not store a cookie that NSHTTPCookie rejects, such as one without a domain.
  void set(const Cookie &cookie, std::function<void()> completion) override;
  void all(std::function<void(std::vector<Cookie>)> completion) override;

 private:
  WKHTTPCookieStore *const store_;
};

}  // namespace orvel
