#pragma once

#include <webkit/webkit.h>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/web_view.h"

namespace orvel {

/// The cookies of a WebKit network session.
class WebKitCookieStore final : public CookieStore {
 public:
  explicit WebKitCookieStore(WebKitCookieManager *manager) : manager_(retain(manager)) {}

  /// A domain that does not begin with a dot names that host alone.
  void set(const Cookie &cookie, std::function<void()> completion) override;
  void all(std::function<void(std::vector<Cookie>)> completion) override;

 private:
  const GObjectPointer<WebKitCookieManager> manager_;
};

}  // namespace orvel
