#pragma once

#include <webkit/webkit.h>

#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"

namespace orvel {

/// The Escape key for WebKit's HTTP authentication dialog. WebKit draws the dialog over the
/// page, with a cancel button but without a key for it. Main thread only.
class WebKitAuthentication {
 public:
  /// Adds the key to a view.
  explicit WebKitAuthentication(WebKitWebView *view);
  ~WebKitAuthentication();
  WebKitAuthentication(const WebKitAuthentication &) = delete;
  WebKitAuthentication &operator=(const WebKitAuthentication &) = delete;

 private:
  void dialogOpened(WebKitAuthenticationRequest *request);
  void dialogClosed();
  /// Cancels the open dialog. Returns false when none is open.
  bool cancelDialog();

  const GObjectPointer<WebKitWebView> view_;
  GtkEventController *const keys_;
  /// The request that WebKit's dialog shows, or null when none is open.
  GObjectPointer<WebKitAuthenticationRequest> request_;
  std::vector<SignalConnection> connections_;
  std::vector<SignalConnection> requestConnections_;
};

}  // namespace orvel
