#include "web/navigation_policy.h"

#include <algorithm>
#include <array>

#include "app/app_delegate.h"

namespace orvel {

namespace {

constexpr std::array<std::string_view, 4> externalSchemes{"http", "https", "mailto", "tel"};
/// The path at which the OS server exports its data as a file.
constexpr std::string_view exportPath = "/api/export";
/// The start of the path of every file that the OS server stores.
constexpr std::string_view filePathPrefix = "/api/bestand/";

// `baseURL` ends in "/", so that a prefix match cannot match another host.
bool isOnServer(const Url &url, std::string_view baseURL) {
  return url.absoluteString.starts_with(baseURL);
}

bool isExternal(std::string_view scheme) {
  return std::find(externalSchemes.begin(), externalSchemes.end(), scheme) != externalSchemes.end();
}

}  // namespace

NavigationDecision decideNavigation(const NavigationAction &action, std::string_view baseURL) {
  using enum NavigationPolicy;
  using enum NavigationConsequence;
  if (!action.url) return {cancel, none};
  const Url &url = *action.url;
  if (url.scheme != "about" && !isOnServer(url, baseURL)) {
    return {cancel, isExternal(url.scheme) ? open : none};
  }
  if (url.path == exportPath) return {cancel, download};
  if (url.path.starts_with(filePathPrefix) && action.target != NavigationTarget::subFrame) {
    return {cancel, download};
  }
  return {allow, none};
}

NavigationConsequence decideNewWindow(const Url &url, std::string_view baseURL) {
  return isOnServer(url, baseURL) ? NavigationConsequence::download : NavigationConsequence::open;
}

NavigationConsequence decideDownload(const Url &url, bool hasUserGesture,
                                     std::string_view baseURL) {
  return hasUserGesture ? decideNewWindow(url, baseURL) : NavigationConsequence::none;
}

NavigationPolicy AppDelegate::decidePolicy(const NavigationAction &action) {
  const NavigationDecision decision = decideNavigation(action, baseURL());
  if (action.url) perform(decision.consequence, *action.url);
  return decision.policy;
}

NavigationPolicy AppDelegate::policyFor(const NavigationAction &action) const {
  return decideNavigation(action, baseURL()).policy;
}

void AppDelegate::createWebView(const std::optional<Url> &url) {
  if (url) perform(decideNewWindow(*url, baseURL()), *url);
}

void AppDelegate::startDownload(const std::optional<Url> &url, bool hasUserGesture) {
  if (url) perform(decideDownload(*url, hasUserGesture, baseURL()), *url);
}

void AppDelegate::perform(NavigationConsequence consequence, const Url &url) {
  switch (consequence) {
    case NavigationConsequence::none:
      return;
    case NavigationConsequence::open:
      return platform_.workspace.open(url);
    case NavigationConsequence::download:
      return bewaarEnOpen(url);
  }
}

}  // namespace orvel
