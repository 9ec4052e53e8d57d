#include "platform/linux/webkit/webkit_frame_probe.h"

#include <utility>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/webkit/main_frame_filter.h"
#include "platform/linux/webkit/webkit_url.h"

namespace orvel {

namespace {

constexpr const char *scriptWorld = "nl.orvel.os";
constexpr const char *filterName = "main-frame";

struct FilterRelease {
  void operator()(WebKitUserContentFilter *filter) const {
    webkit_user_content_filter_unref(filter);
  }
};

/// Returns a random text, which no page can guess and use in a confirmation dialog.
std::string makeConfirmationText() { return GlibText(g_uuid_string_random()).get(); }

// Scripts for the probe's own script world, which the page cannot see.
constexpr const char *enableConfirmation = "confirms = true";
constexpr const char *disableConfirmation = "confirms = false";

/// Adds a beforeunload handler to the main frame that, while enabled, requests a
/// confirmation dialog with the given text. It runs before the page's own handlers and
/// stops the event, so the page does not notice the probe.
void addConfirmationHandler(WebKitUserContentManager *content, const std::string &text) {
  const std::string source =
      "var confirms = false; addEventListener('beforeunload', event => { if (!confirms) return;"
      " event.stopImmediatePropagation(); event.preventDefault(); event.returnValue = '" +
      text + "'; }, true);";
  WebKitUserScript *script = webkit_user_script_new_for_world(
      source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
      WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, scriptWorld, nullptr, nullptr);
  webkit_user_content_manager_add_script(content, script);
  webkit_user_script_unref(script);
}

/// Returns whether a content filter blocked a load.
bool isBlocked(const GError *error) {
  // kWKErrorCodeFrameLoadBlockedByContentBlocker, for which the GTK API has no name.
  constexpr int blockedByContentBlocker = 104;
  return g_error_matches(error, WEBKIT_POLICY_ERROR, blockedByContentBlocker);
}

/// Runs a script as a barrier: IPC with the web process is ordered, so the process has handled
/// all earlier messages when the script runs, and this process has handled all earlier
/// replies when `completion` is called.
void runBarrier(WebKitWebView *view, const char *script, AsyncFunction completion) {
  webkit_web_view_evaluate_javascript(view, script, -1, scriptWorld, nullptr, nullptr,
                                      callAsyncFunction, asyncFunctionData(std::move(completion)));
}

/// Returns the assumed target of a navigation that started no load: a later navigation in
/// its frame replaced it, its frame was removed, it is a link with the download attribute,
/// or it leads to a fragment of the same document.
///
/// A clicked link counts as a main-frame navigation, so that the delegate can download its
/// file: a page that clicks several download links at once expects every file. Any other
/// navigation counts as a sub-frame navigation, which starts no download, because a frame shows
/// only the last of several addresses. So does a link to a fragment: its frame already shows the
/// document, and the delegate allows a document that needs a probe only in sub-frames.
NavigationTarget targetWithoutLoad(WebKitNavigationAction *action, std::string_view address) {
  const bool isLink =
      webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
  return isLink && withoutFragment(address) == address ? NavigationTarget::mainFrame
                                                       : NavigationTarget::subFrame;
}

}  // namespace

/// The state of one probe. Pending callbacks keep the state alive after the end of the probe.
struct WebKitFrameProbe::Attempt {
  /// Null after the end of the probe.
  WebKitFrameProbe *probe = nullptr;
  GObjectPointer<WebKitPolicyDecision> decision;
  /// Owned by the decision.
  WebKitNavigationAction *action = nullptr;
  std::string address;
  bool isRedirect = false;
  /// Whether the address has started to load as anything but the main frame's document.
  bool isLoadedInSubFrame = false;
  Report report;
  std::unique_ptr<WebKitUserContentFilter, FilterRelease> filter;
  /// Whether the navigation has been allowed, so that its beforeunload event may follow.
  bool isAllowed = false;
};

WebKitFrameProbe::WebKitFrameProbe(WebKitWebView *view, const std::string &folder)
    : view_(retain(view)),
      store_(adopt(webkit_user_content_filter_store_new(folder.c_str()))),
      confirmationText_(makeConfirmationText()),
      resourceLoadStarted_(
          view, "resource-load-started", this,
          +[](WebKitFrameProbe *probe, WebKitWebResource *resource) {
            probe->resourceStarted(resource);
          }) {
  addConfirmationHandler(webkit_web_view_get_user_content_manager(view), confirmationText_);
}

WebKitFrameProbe::~WebKitFrameProbe() { endAttempt(); }

void WebKitFrameProbe::start(WebKitNavigationPolicyDecision *decision, Report report) {
  WebKitNavigationAction *action =
      webkit_navigation_policy_decision_get_navigation_action(decision);
  attempt_ = std::make_shared<Attempt>();
  attempt_->probe = this;
  attempt_->decision = retain(WEBKIT_POLICY_DECISION(decision));
  attempt_->action = action;
  attempt_->address = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  attempt_->isRedirect = webkit_navigation_action_is_redirect(action) != FALSE;
  attempt_->report = std::move(report);

  const std::string rules = mainFrameFilter(attempt_->address);
  GBytes *bytes = g_bytes_new(rules.data(), rules.size());
  webkit_user_content_filter_store_save(
      store_.get(), filterName, bytes, nullptr, callAsyncFunction,
      asyncFunctionData(unlessEnded(&WebKitFrameProbe::filterSaved)));
  g_bytes_unref(bytes);
}

bool WebKitFrameProbe::mayLeave(std::string_view text) {
  if (!attempt_ || !attempt_->isAllowed || text != confirmationText_) return true;
  report(NavigationTarget::mainFrame);
  return false;
}

void WebKitFrameProbe::loadFailed(const char *address, const GError *error) {
  // A redirect does not match: its "load-failed" has the original address, and comes too late,
  // after the loads of sub-frames. mainResourceFailed_ handles redirects.
  if (!attempt_ || attempt_->address != address || !isBlocked(error)) return;
  report(NavigationTarget::mainFrame);
}

AsyncFunction WebKitFrameProbe::unlessEnded(
    void (WebKitFrameProbe::*method)(GAsyncResult *)) const {
  return [attempt = attempt_, method](GObject *, GAsyncResult *result) {
    if (attempt->probe != nullptr) (attempt->probe->*method)(result);
  };
}

void WebKitFrameProbe::filterSaved(GAsyncResult *result) {
  WebKitUserContentFilter *filter =
      webkit_user_content_filter_store_save_finish(store_.get(), result, nullptr);
  if (filter == nullptr) return report(NavigationTarget::mainFrame);
  attempt_->filter.reset(filter);
  webkit_user_content_manager_add_filter(webkit_web_view_get_user_content_manager(view_.get()),
                                         filter);
  // After the barrier, no beforeunload event of an earlier navigation can be taken for one of
  // this navigation.
  runBarrier(view_.get(), enableConfirmation, unlessEnded(&WebKitFrameProbe::confirmationEnabled));
}

void WebKitFrameProbe::confirmationEnabled(GAsyncResult * /*result*/) {
  attempt_->isAllowed = true;
  webkit_policy_decision_use(attempt_->decision.get());
  runBarrier(view_.get(), disableConfirmation, unlessEnded(&WebKitFrameProbe::navigationHandled));
}

void WebKitFrameProbe::navigationHandled(GAsyncResult * /*result*/) {
  // A redirect that the filter has not blocked targets a sub-frame.
  if (attempt_->isRedirect || attempt_->isLoadedInSubFrame) {
    return report(NavigationTarget::subFrame);
  }
  report(targetWithoutLoad(attempt_->action, attempt_->address));
}

void WebKitFrameProbe::resourceStarted(WebKitWebResource *resource) {
  if (resource != webkit_web_view_get_main_resource(view_.get())) {
    if (attempt_ && withoutFragment(webkit_web_resource_get_uri(resource)) ==
                        withoutFragment(attempt_->address)) {
      attempt_->isLoadedInSubFrame = true;
    }
    return;
  }
  mainResourceFailed_ = SignalConnection(
      resource, "failed", this, +[](WebKitFrameProbe *probe, GError *error) {
        if (probe->attempt_ && probe->attempt_->isRedirect && isBlocked(error)) {
          probe->report(NavigationTarget::mainFrame);
        }
      });
}

void WebKitFrameProbe::report(NavigationTarget target) {
  const auto attempt = endAttempt();
  attempt->report(target);
}

std::shared_ptr<WebKitFrameProbe::Attempt> WebKitFrameProbe::endAttempt() {
  if (!attempt_) return nullptr;
  attempt_->probe = nullptr;
  // This call has no effect after webkit_policy_decision_use. Without the call, the release of an
  // unanswered decision would count as "use".
  webkit_policy_decision_ignore(attempt_->decision.get());
  // The filter must not block later navigations to the address.
  if (attempt_->filter) {
    webkit_user_content_manager_remove_filter(webkit_web_view_get_user_content_manager(view_.get()),
                                              attempt_->filter.get());
  }
  return std::exchange(attempt_, nullptr);
}

}  // namespace orvel
