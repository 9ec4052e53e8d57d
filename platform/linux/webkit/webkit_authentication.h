#pragma once

#include <webkit/webkit.h>

#include "platform/linux/glib/gobject_pointer.h"

namespace orvel {

/// Makes Escape cancel WebKit's dialog for HTTP authentication. The dialog is drawn over
/// the page and has a cancel button but no key for it. Main thread only.
class WebKitAuthentication {
 public:
  explicit WebKitAuthentication(WebKitWebView *view);
  ~WebKitAuthentication();
  WebKitAuthentication(const WebKitAuthentication &) = delete;
  WebKitAuthentication &operator=(const WebKitAuthentication &) = delete;

 private:
  void asked(WebKitAuthenticationRequest *request);
  void forget();
  bool cancel();

  const GObjectPointer<WebKitWebView> view_;
  GtkEventController *const keys_;
  /// The request that WebKit's dialog shows, or null when none is open.
  GObjectPointer<WebKitAuthenticationRequest> request_;
};

}  // namespace orvel
