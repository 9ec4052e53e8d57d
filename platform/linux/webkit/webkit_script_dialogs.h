#pragma once

#include <webkit/webkit.h>

#include <functional>
#include <string_view>

#include "platform/linux/glib/signal_connection.h"
#include "platform/web_view.h"

namespace orvel {

/// The JavaScript dialogs of a web view. The delegate runs alert() and confirm(); prompt()
/// returns null. Main thread only.
class WebKitScriptDialogs {
 public:
  /// Returns the answer to a beforeunload confirmation that shows `text`: true to leave the page.
  using MayLeave = std::function<bool(std::string_view text)>;

  /// The delegate must outlive this object.
  WebKitScriptDialogs(WebKitWebView *view, WebViewDelegate &delegate, MayLeave mayLeave);
  WebKitScriptDialogs(const WebKitScriptDialogs &) = delete;
  WebKitScriptDialogs &operator=(const WebKitScriptDialogs &) = delete;

 private:
  void run(WebKitScriptDialog *dialog);

  WebViewDelegate &delegate_;
  const MayLeave mayLeave_;
  const SignalConnection scriptDialog_;
};

}  // namespace orvel
