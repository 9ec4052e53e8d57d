#pragma once

#include <webkit/webkit.h>

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/webkit/webkit_frame_probe.h"
#include "platform/linux/webkit/webkit_script_dialogs.h"
#include "platform/web_view.h"

namespace orvel {

/// Asks a delegate about all that a page or its user wants to go to, and keeps
/// WebKit from anything that the delegate does not know of: windows of its own
/// and downloads. Main thread only.
class WebKitNavigation {
 public:
  WebKitNavigation(WebKitWebView *view, const std::string &cacheFolder, WebViewDelegate &delegate);
  ~WebKitNavigation();
  WebKitNavigation(const WebKitNavigation &) = delete;
  WebKitNavigation &operator=(const WebKitNavigation &) = delete;

 private:
  using Decision = GObjectPointer<WebKitNavigationPolicyDecision>;

  bool decide(WebKitPolicyDecision *decision, WebKitPolicyDecisionType type);
  bool isCancelledAnywhere(WebKitNavigationPolicyDecision *decision) const;
  void decideWaiting();
  void decideInFrame(WebKitNavigationPolicyDecision *decision);
  void downloadStarted(WebKitDownload *download);
  void processTerminated();

  WebViewDelegate &delegate_;
  WebKitFrameProbe probe_;
  WebKitScriptDialogs dialogs_;
  /// Navigations in a frame, in the order in which they were asked about.
  std::deque<Decision> waiting_;
  /// What was kept out of the main frame, and may have been links that download:
  /// WebKit then still begins to.
  std::set<std::string> keptOut_;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
