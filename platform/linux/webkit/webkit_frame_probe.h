#pragma once

#include <webkit/webkit.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/linux/glib/async_callback.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/web_view.h"

namespace orvel {

/// Finds out whether a navigation that WebKit asks about aims at the main frame,
/// which it does not tell (2.50).
///
/// The navigation is let go, in such a way that it can get nowhere in the main
/// frame. Before a document is left it may ask whether that is meant: the main
/// frame's, which alone asks in our words, is told no, and stays as it is. Where
/// there is no such question, as in a redirect, a content filter for the main
/// frame stops the load before its request is sent; that costs the page the
/// other loads that it has under way, as any load in the main frame would. What
/// neither stops and then loads was for a sub-frame, and goes on there. Main
/// thread only.
class WebKitFrameProbe {
 public:
  using Found = std::function<void(NavigationTarget)>;

  /// Filters are kept in the folder, which need not exist.
  WebKitFrameProbe(WebKitWebView *view, const std::string &folder);
  ~WebKitFrameProbe();
  WebKitFrameProbe(const WebKitFrameProbe &) = delete;
  WebKitFrameProbe &operator=(const WebKitFrameProbe &) = delete;

  /// Whether one is being found out about. No other navigation may be answered
  /// until then: its question would be taken for this one's.
  bool isBusy() const { return attempt_ != nullptr; }
  bool isAbout(std::string_view address) const;
  /// Answers the decision. Where no filter can be kept, as on a full disk, every
  /// navigation counts as the main frame's. Nothing is called back when the
  /// page's process ends meanwhile.
  void start(WebKitNavigationPolicyDecision *decision, Found found);
  /// A document's question before it is left; false when it is to stay.
  bool mayLeave(std::string_view text);
  void loadFailed(const char *address, const GError *error);
  void processTerminated() { endAttempt(); }

 private:
  struct Attempt;

  /// Returns a function that calls the method unless the current attempt has ended by
  /// then.
  AsyncFunction step(void (WebKitFrameProbe::*method)(GAsyncResult *)) const;
  void filterSaved(GAsyncResult *result);
  void pageCaughtUp(GAsyncResult *result);
  void pageDecided(GAsyncResult *result);
  void resourceStarted(WebKitWebResource *resource);
  void found(NavigationTarget target);
  std::shared_ptr<Attempt> endAttempt();

  const GObjectPointer<WebKitWebView> view_;
  const GObjectPointer<WebKitUserContentFilterStore> store_;
  const std::string question_;
  std::shared_ptr<Attempt> attempt_;
  const SignalConnection resourceLoadStarted_;
  SignalConnection mainResourceFailed_;
};

}  // namespace orvel
