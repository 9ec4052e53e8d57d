#include "platform/linux/webkit/webkit_frame_probe.h"

#include <utility>

#include "platform/linux/glib/glib_text.h"
#include "platform/linux/webkit/main_frame_filter.h"

namespace orvel {

namespace {

constexpr const char *world = "nl.orvel.os";
constexpr const char *filterName = "main-frame";

struct FilterRelease {
  void operator()(WebKitUserContentFilter *filter) const {
    webkit_user_content_filter_unref(filter);
  }
};

/// A text that no page has of itself.
std::string makeQuestion() { return GlibText(g_uuid_string_random()).get(); }

// A world of its own keeps the page from seeing the script, which comes before
// the page's own and so keeps the question from them, too: for all that they
// know nobody is leaving.
constexpr const char *ask = "asks = true";
constexpr const char *askNoMore = "asks = false";

void addQuestion(WebKitUserContentManager *content, const std::string &question) {
  const std::string source =
      "var asks = false; addEventListener('beforeunload', event => { if (!asks) return;"
      " event.stopImmediatePropagation(); event.preventDefault(); event.returnValue = '" +
      question + "'; }, true);";
  WebKitUserScript *script = webkit_user_script_new_for_world(
      source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
      WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, world, nullptr, nullptr);
  webkit_user_content_manager_add_script(content, script);
  webkit_user_script_unref(script);
}

// The number is WebKit's own for a load that a filter blocked; it has no name.
bool isBlocked(const GError *error) { return g_error_matches(error, WEBKIT_POLICY_ERROR, 104); }

// Whatever it is, it goes to the page's process after all that it was told
// before, and its end comes back after all that the process then said.
void roundTrip(WebKitWebView *view, const char *script, AsyncFunction back) {
  webkit_web_view_evaluate_javascript(view, script, -1, world, nullptr, nullptr, callAsyncFunction,
                                      asyncFunctionData(std::move(back)));
}

std::string_view withoutFragment(std::string_view address) {
  return address.substr(0, address.find('#'));
}

/// Where a navigation that led nowhere was meant to go. Another one in its frame
/// has overtaken it, or the frame is gone, or it is a link that downloads. A page
/// that has several links clicked at once wants all their files; a frame that is
/// given one address after the other shows only the last. One to a place within
/// its document leads nowhere by itself, and only a frame has such a document.
NavigationTarget targetOfOvertaken(WebKitNavigationAction *action) {
  const std::string_view address =
      webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  const bool isLink =
      webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
  return isLink && withoutFragment(address) == address ? NavigationTarget::mainFrame
                                                       : NavigationTarget::subFrame;
}

}  // namespace

/// A navigation that is being found out about. It outlives its end for as long
/// as something is to be called back.
struct WebKitFrameProbe::Attempt {
  /// Null from the end on.
  WebKitFrameProbe *probe = nullptr;
  GObjectPointer<WebKitPolicyDecision> decision;
  WebKitNavigationAction *action = nullptr;
  std::string address;
  bool isRedirect = false;
  bool isLoadedInSubFrame = false;
  Found found;
  std::unique_ptr<WebKitUserContentFilter, FilterRelease> filter;
  /// The decision has been answered.
  bool isLetGo = false;
};

WebKitFrameProbe::WebKitFrameProbe(WebKitWebView *view, const std::string &folder)
    : view_(retain(view)),
      store_(adopt(webkit_user_content_filter_store_new(folder.c_str()))),
      question_(makeQuestion()),
      resourceLoadStarted_(
          view, "resource-load-started", this,
          +[](WebKitFrameProbe *probe, WebKitWebResource *resource) {
            probe->resourceStarted(resource);
          }) {
  addQuestion(webkit_web_view_get_user_content_manager(view), question_);
}

WebKitFrameProbe::~WebKitFrameProbe() { endAttempt(); }

void WebKitFrameProbe::start(WebKitNavigationPolicyDecision *decision, Found found) {
  WebKitNavigationAction *action =
      webkit_navigation_policy_decision_get_navigation_action(decision);
  attempt_ = std::make_shared<Attempt>();
  attempt_->probe = this;
  attempt_->decision = retain(WEBKIT_POLICY_DECISION(decision));
  attempt_->action = action;
  attempt_->address = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  attempt_->isRedirect = webkit_navigation_action_is_redirect(action) != FALSE;
  attempt_->found = std::move(found);

  const std::string rules = mainFrameFilter(attempt_->address);
  GBytes *bytes = g_bytes_new(rules.data(), rules.size());
  webkit_user_content_filter_store_save(store_.get(), filterName, bytes, nullptr, callAsyncFunction,
                                        asyncFunctionData(step(&WebKitFrameProbe::filterSaved)));
  g_bytes_unref(bytes);
}

bool WebKitFrameProbe::isAbout(std::string_view address) const {
  return attempt_ && attempt_->address == address;
}

bool WebKitFrameProbe::mayLeave(std::string_view text) {
  if (!attempt_ || !attempt_->isLetGo || text != question_) return true;
  found(NavigationTarget::mainFrame);
  return false;
}

void WebKitFrameProbe::loadFailed(const char *address, const GError *error) {
  // After a redirect the address is the first one's, and the failure may wait
  // for loads in sub-frames: the resource tells that sooner.
  if (!attempt_ || attempt_->address != address || !isBlocked(error)) return;
  found(NavigationTarget::mainFrame);
}

AsyncFunction WebKitFrameProbe::step(void (WebKitFrameProbe::*method)(GAsyncResult *)) const {
  return [attempt = attempt_, method](GObject *, GAsyncResult *result) {
    if (attempt->probe != nullptr) (attempt->probe->*method)(result);
  };
}

void WebKitFrameProbe::filterSaved(GAsyncResult *result) {
  WebKitUserContentFilter *filter =
      webkit_user_content_filter_store_save_finish(store_.get(), result, nullptr);
  if (filter == nullptr) return found(NavigationTarget::mainFrame);
  attempt_->filter.reset(filter);
  webkit_user_content_manager_add_filter(webkit_web_view_get_user_content_manager(view_.get()),
                                         filter);
  // A navigation that was answered before may still have its question to ask.
  roundTrip(view_.get(), ask, step(&WebKitFrameProbe::pageCaughtUp));
}

void WebKitFrameProbe::pageCaughtUp(GAsyncResult * /*result*/) {
  attempt_->isLetGo = true;
  webkit_policy_decision_use(attempt_->decision.get());
  roundTrip(view_.get(), askNoMore, step(&WebKitFrameProbe::pageDecided));
}

void WebKitFrameProbe::pageDecided(GAsyncResult * /*result*/) {
  // The filter has the last word on a redirect.
  if (attempt_->isRedirect || attempt_->isLoadedInSubFrame) {
    return found(NavigationTarget::subFrame);
  }
  found(targetOfOvertaken(attempt_->action));
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
          probe->found(NavigationTarget::mainFrame);
        }
      });
}

void WebKitFrameProbe::found(NavigationTarget target) {
  const auto attempt = endAttempt();
  attempt->found(target);
}

std::shared_ptr<WebKitFrameProbe::Attempt> WebKitFrameProbe::endAttempt() {
  if (!attempt_) return nullptr;
  attempt_->probe = nullptr;
  // Unless it has been let go; a decision that is merely dropped would be.
  webkit_policy_decision_ignore(attempt_->decision.get());
  // Another time the same address may be allowed.
  if (attempt_->filter) {
    webkit_user_content_manager_remove_filter(webkit_web_view_get_user_content_manager(view_.get()),
                                              attempt_->filter.get());
  }
  return std::exchange(attempt_, nullptr);
}

}  // namespace orvel
