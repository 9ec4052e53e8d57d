#include "platform/linux/webkit/webkit_navigation.h"

#include <algorithm>
#include <utility>

#include "platform/linux/webkit/webkit_context_menu.h"
#include "platform/linux/webkit/webkit_url.h"

namespace orvel {

namespace {

const char *addressOf(WebKitNavigationAction *action) {
  return webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
}

const char *addressOf(WebKitNavigationPolicyDecision *decision) {
  return addressOf(webkit_navigation_policy_decision_get_navigation_action(decision));
}

std::optional<Url> urlOf(WebKitNavigationPolicyDecision *decision) {
  return urlFromWebKit(addressOf(decision));
}

void answer(WebKitNavigationPolicyDecision *decision, NavigationPolicy policy) {
  if (policy == NavigationPolicy::allow) {
    webkit_policy_decision_use(WEBKIT_POLICY_DECISION(decision));
  } else {
    webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
  }
}

}  // namespace

WebKitNavigation::WebKitNavigation(WebKitWebView *view, const std::string &cacheFolder,
                                   WebViewDelegate &delegate)
    : delegate_(delegate),
      probe_(view, cacheFolder + "/content-filters"),
      dialogs_(view, delegate, [this](std::string_view text) { return probe_.mayLeave(text); }) {
  connections_.emplace_back(
      view, "decide-policy", this,
      +[](WebKitNavigation *self, WebKitPolicyDecision *decision, WebKitPolicyDecisionType type) {
        return gboolean{self->decide(decision, type)};
      });
  connections_.emplace_back(
      view, "create", this,
      +[](WebKitNavigation *self, WebKitNavigationAction *action) -> GtkWidget * {
        // Creates no view: the delegate opens or downloads the URL instead.
        self->delegate_.createWebView(urlFromWebKit(addressOf(action)));
        return nullptr;
      });
  connections_.emplace_back(
      view, "load-failed", this,
      +[](WebKitNavigation *self, WebKitLoadEvent, const char *address, const GError *error) {
        self->probe_.loadFailed(address, error);
        // Suppresses WebKit's error page, so the view keeps its page.
        return gboolean{TRUE};
      });
  connections_.emplace_back(
      view, "web-process-terminated", this,
      +[](WebKitNavigation *self) { self->cancelUndecided(); });
  connections_.emplace_back(
      view, "context-menu", this,
      +[](WebKitNavigation *self, WebKitContextMenu *menu, WebKitHitTestResult *target) {
        WebViewDelegate &receiver = self->delegate_;
        rebuildContextMenu(menu, target, [&receiver](const char *address) {
          constexpr bool hasUserGesture = true;
          receiver.startDownload(urlFromWebKit(address), hasUserGesture);
        });
        return gboolean{FALSE};
      });
  connections_.emplace_back(
      webkit_web_view_get_network_session(view), "download-started", this,
      +[](WebKitNavigation *self, WebKitDownload *download) { self->downloadStarted(download); });
}

WebKitNavigation::~WebKitNavigation() {
  connections_.clear();
  cancelUndecided();
}

bool WebKitNavigation::decide(WebKitPolicyDecision *decision, WebKitPolicyDecisionType type) {
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return false;
  auto *navigation = WEBKIT_NAVIGATION_POLICY_DECISION(decision);
  if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
    // When the delegate allows the window, WebKit emits "create", which calls createWebView.
    answer(navigation, delegate_.decidePolicy(
                           {.url = urlOf(navigation), .target = NavigationTarget::newWindow}));
  } else if (policyInEveryFrame(navigation) == NavigationPolicy::cancel) {
    // A cancelled navigation needs no probe and fires no beforeunload event, so it does not wait
    // for a running probe.
    decideFrameNavigation(navigation);
  } else {
    pendingNavigations_.push_back(retain(navigation));
    decidePendingNavigations();
  }
  return true;
}

void WebKitNavigation::downloadStarted(WebKitDownload *download) {
  const std::string address = webkit_uri_request_get_uri(webkit_download_get_request(download));
  webkit_download_cancel(download);
  const auto navigation = findAllowedNavigation(address);
  if (navigation == allowedNavigations_.end()) return;
  delegate_.startDownload(urlFromWebKit(address.c_str()), navigation->hasUserGesture);
}

std::optional<NavigationPolicy> WebKitNavigation::policyInEveryFrame(
    WebKitNavigationPolicyDecision *decision) const {
  NavigationAction action{.url = urlOf(decision), .target = NavigationTarget::mainFrame};
  const NavigationPolicy inMainFrame = delegate_.policyFor(action);
  action.target = NavigationTarget::subFrame;
  return delegate_.policyFor(action) == inMainFrame ? std::optional(inMainFrame) : std::nullopt;
}

void WebKitNavigation::decidePendingNavigations() {
  while (!pendingNavigations_.empty() && !probe_.isBusy()) {
    const Decision decision = std::move(pendingNavigations_.front());
    pendingNavigations_.pop_front();
    decideFrameNavigation(decision.get());
  }
}

std::deque<WebKitNavigation::AllowedNavigation>::iterator WebKitNavigation::findAllowedNavigation(
    std::string_view address) {
  return std::find_if(
      allowedNavigations_.begin(), allowedNavigations_.end(),
      [&](const auto &allowed) { return allowed.address == withoutFragment(address); });
}

NavigationPolicy WebKitNavigation::decideAndStore(const NavigationAction &action,
                                                  const std::string &address, bool hasUserGesture) {
  const NavigationPolicy policy = delegate_.decidePolicy(action);
  // A download starts with the response, which may arrive long after the navigation. So only
  // these limits, and no time limit, keep a page from filling the memory.
  constexpr std::size_t maxNavigations = 100;
  constexpr std::size_t maxAddressBytes = 65'536;
  if (policy != NavigationPolicy::allow || address.size() > maxAddressBytes) return policy;
  if (allowedNavigations_.size() == maxNavigations) allowedNavigations_.pop_front();
  allowedNavigations_.push_back({std::string(withoutFragment(address)), hasUserGesture});
  return policy;
}

void WebKitNavigation::decideFrameNavigation(WebKitNavigationPolicyDecision *decision) {
  const std::string address = addressOf(decision);
  const bool hasUserGesture =
      webkit_navigation_action_is_user_gesture(
          webkit_navigation_policy_decision_get_navigation_action(decision)) != FALSE;
  // A new decision about an address replaces an earlier one.
  const auto stored = findAllowedNavigation(address);
  if (stored != allowedNavigations_.end()) allowedNavigations_.erase(stored);
  NavigationAction action{.url = urlOf(decision), .target = NavigationTarget::mainFrame};
  // No probe is needed when the policy does not depend on the frame.
  if (policyInEveryFrame(decision)) {
    return answer(decision, decideAndStore(action, address, hasUserGesture));
  }
  probe_.start(decision, [this, action, address, hasUserGesture](NavigationTarget target) mutable {
    action.target = target;
    // The probe has already answered the decision.
    decideAndStore(action, address, hasUserGesture);
    decidePendingNavigations();
  });
}

void WebKitNavigation::cancelUndecided() {
  probe_.cancel();
  for (const Decision &decision : pendingNavigations_) {
    answer(decision.get(), NavigationPolicy::cancel);
  }
  pendingNavigations_.clear();
}

}  // namespace orvel
