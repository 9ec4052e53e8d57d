#pragma once

#include <webkit/webkit.h>

#include <functional>
#include <string_view>

#include "platform/linux/glib/signal_connection.h"
#include "platform/web_view.h"

namespace orvel {

/// The dialogs that scripts of a page ask for. Main thread only.
class WebKitScriptDialogs {
 public:
  /// Told the text of each question whether the page may be left, answers it.
  using MayLeave = std::function<bool(std::string_view text)>;

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
