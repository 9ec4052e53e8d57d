#pragma once

#import <WebKit/WebKit.h>

#include "platform/web_view.h"

namespace orvel {

/// The cookies of one web view's own data store.
class WKCookieStore final : public CookieStore {
 public:
  explicit WKCookieStore(WKHTTPCookieStore *store) : store_(store) {}

  /// A cookie that Foundation refuses (one without a domain) is not stored.
  void set(const Cookie &cookie, std::function<void()> completion) override;
  void all(std::function<void(std::vector<Cookie>)> completion) override;

 private:
  WKHTTPCookieStore *const store_;
};

}  // namespace orvel
