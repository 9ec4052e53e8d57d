#pragma once

#include <webkit/webkit.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"

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
  void dialogOpened(WebKitAuthenticationRequest *request);
  void dialogClosed();
  bool cancel();

  const GObjectPointer<WebKitWebView> view_;
  GtkEventController *const keys_;
  /// The request that WebKit's dialog shows, or null when none is open.
  GObjectPointer<WebKitAuthenticationRequest> request_;
  std::vector<SignalConnection> connections_;
  std::vector<SignalConnection> requestConnections_;
};

}  // namespace orvel
