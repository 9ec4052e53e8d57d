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

/// Probes, one at a time, that determine whether a navigation targets the main frame or a
/// sub-frame. WebKitGTK 2.50 does not expose that.
///
/// A probe allows the navigation, but makes sure that it cannot replace the document of the
/// main frame:
/// - A beforeunload handler in the main frame requests a confirmation dialog with a secret
///   text. When WebKit emits that request, the navigation targets the main frame; the
///   answer is to stay.
/// - A redirect fires no beforeunload event. A content filter for the resource type
///   "top-document" blocks it in the main frame before the request is sent. Like any
///   main-frame load, the blocked one cancels the page's other running loads.
///
/// A load that neither of them stops targets a sub-frame, and continues there. Main thread
/// only.
class WebKitFrameProbe {
 public:
  /// Receives the target of the navigation.
  using Report = std::function<void(NavigationTarget)>;

  /// Content filters are stored in the folder, which need not exist.
  WebKitFrameProbe(WebKitWebView *view, const std::string &folder);
  ~WebKitFrameProbe();
  WebKitFrameProbe(const WebKitFrameProbe &) = delete;
  WebKitFrameProbe &operator=(const WebKitFrameProbe &) = delete;

  /// Returns whether a probe is running. Until the probe ends, no other frame navigation may be
  /// allowed, because the probe would attribute that navigation's beforeunload event to the
  /// probed one.
  bool isBusy() const { return attempt_ != nullptr; }
  /// Starts a probe, which answers the decision. Calls `report` once, or never when `cancel`
  /// or the destructor ends the probe first. When the filter cannot be saved, for example on a
  /// full disk, ignores the navigation and reports the main frame. Must not be called while a
  /// probe is running.
  void start(WebKitNavigationPolicyDecision *decision, Report report);
  /// Returns the answer to a beforeunload confirmation that shows `text`. When the running probe
  /// has allowed its navigation and `text` is its secret text, the probe reports the main frame and
  /// ends, and the answer is false, to stay. Otherwise it is true, to leave the document.
  bool mayLeave(std::string_view text);
  /// Handles a "load-failed" signal of the view. Reports the main frame when the content filter has
  /// blocked the probed navigation, unless that is a redirect, which mainResourceFailed_ handles.
  void loadFailed(const char *address, const GError *error);
  /// Ends a running probe without a report. Call it when the web process has terminated.
  void cancel() { endAttempt(); }

 private:
  struct Attempt;

  /// Returns a function that calls the method, but does nothing after the end of the current
  /// attempt.
  AsyncFunction unlessEnded(void (WebKitFrameProbe::*method)(GAsyncResult *)) const;
  void filterSaved(GAsyncResult *result);
  void confirmationEnabled(GAsyncResult *result);
  void navigationHandled(GAsyncResult *result);
  void resourceStarted(WebKitWebResource *resource);
  void report(NavigationTarget target);
  /// Ends the running attempt and returns it, or returns null when none is running.
  std::shared_ptr<Attempt> endAttempt();

  const GObjectPointer<WebKitWebView> view_;
  const GObjectPointer<WebKitUserContentFilterStore> store_;
  const std::string confirmationText_;
  std::shared_ptr<Attempt> attempt_;
  const SignalConnection resourceLoadStarted_;
  /// The connection to the "failed" signal of the resource that the main frame is loading.
  SignalConnection mainResourceFailed_;
};

}  // namespace orvel
