#pragma once

#include <webkit/webkit.h>

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/webkit/webkit_frame_probe.h"
#include "platform/linux/webkit/webkit_script_dialogs.h"
#include "platform/web_view.h"

namespace orvel {

/// The navigation policy of a web view: the delegate decides about every navigation, new
/// window and download. WebKit itself never opens a window or saves a download. Main thread
/// only.
class WebKitNavigation {
 public:
  /// The frame probe stores its content filters in a sub-folder of the cache folder. The cache
  /// folder need not exist. The delegate must outlive this object.
  WebKitNavigation(WebKitWebView *view, const std::string &cacheFolder, WebViewDelegate &delegate);
  ~WebKitNavigation();
  WebKitNavigation(const WebKitNavigation &) = delete;
  WebKitNavigation &operator=(const WebKitNavigation &) = delete;

 private:
  using Decision = GObjectPointer<WebKitNavigationPolicyDecision>;
  struct AllowedNavigation {
    /// Without the fragment.
    std::string address;
    bool hasUserGesture;
  };

  /// Handles a "decide-policy" signal. Returns false when WebKit should decide itself.
  bool decide(WebKitPolicyDecision *decision, WebKitPolicyDecisionType type);
  /// Returns the delegate's policy if it is the same in the main frame and in a sub-frame, else
  /// nullopt. Has no side effects, unlike decideAndStore.
  std::optional<NavigationPolicy> policyInEveryFrame(
      WebKitNavigationPolicyDecision *decision) const;
  void decidePendingNavigations();
  void decideFrameNavigation(WebKitNavigationPolicyDecision *decision);
  std::deque<AllowedNavigation>::iterator findAllowedNavigation(std::string_view address);
  /// Lets the delegate decide, and stores an allowed navigation in allowedNavigations_.
  NavigationPolicy decideAndStore(const NavigationAction &action, const std::string &address,
                                  bool hasUserGesture);
  void downloadStarted(WebKitDownload *download);
  /// Cancels the running probe and all pending navigations.
  void cancelUndecided();

  WebViewDelegate &delegate_;
  WebKitFrameProbe probe_;
  WebKitScriptDialogs dialogs_;
  /// Frame navigations that wait until the running probe ends, in the order of their signals.
  std::deque<Decision> pendingNavigations_;
  /// The last allowed navigations to different addresses, oldest first. Only these may become
  /// downloads: for a link with the download attribute, WebKit starts a download even when the
  /// delegate cancels the navigation after a probe.
  std::deque<AllowedNavigation> allowedNavigations_;
  std::vector<SignalConnection> connections_;
};

}  // namespace orvel
