#pragma once

#include <webkit/webkit.h>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/web_view.h"

namespace orvel {

/// The cookies of a WebKit network session. Main thread only.
class WebKitCookieStore final : public CookieStore {
 public:
  explicit WebKitCookieStore(WebKitCookieManager *manager) : manager_(retain(manager)) {}

  /// A domain without a leading dot means that host only, without its subdomains.
  void set(const Cookie &cookie, std::function<void()> completion) override;
  void all(std::function<void(std::vector<Cookie>)> completion) override;

 private:
  const GObjectPointer<WebKitCookieManager> manager_;
};

}  // namespace orvel
