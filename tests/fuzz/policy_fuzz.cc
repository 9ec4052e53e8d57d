// Property: the web view shows only pages of the server and "about:" pages.

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/linux/webkit/main_frame_filter.h"
#include "platform/linux/webkit/webkit_url.h"
#include "tests/fuzz/fuzz_target.h"
#include "web/navigation_policy.h"
#include "web/same_origin.h"
#include "web/server_address.h"

namespace orvel::fuzz {

namespace {
using enum NavigationPolicy;
using enum NavigationConsequence;
using enum NavigationTarget;

/// Returns the server address as the application stores it, or a local one for an invalid text.
std::string serverAddress(std::string_view typed) {
  const std::string_view address = trimSpacesAndTabs(typed);
  if (!isServerAddress(address)) return "http://127.0.0.1:4767/";
  return std::string(address) + (address.ends_with('/') ? "" : "/");
}

void requireSafe(const NavigationDecision &decision, const Url &url, const std::string &base) {
  const auto server = Url::parse(base);
  const bool isOfServer = server && url.absoluteString.starts_with(base);
  const bool isSameOrigin = isOfServer && url.scheme == server->scheme &&
                            url.host == server->host && isSameOriginOrUpgrade(*server, url);
  require(decision.policy == cancel || decision.consequence == none,
          "an allowed navigation opens and downloads nothing");
  require(decision.policy == cancel || url.scheme == "about" || isSameOrigin,
          "only about: pages and pages of the server are shown");
  if (decision.consequence == open) {
    constexpr std::array<std::string_view, 4> schemes{"http", "https", "mailto", "tel"};
    require(std::find(schemes.begin(), schemes.end(), url.scheme) != schemes.end(),
            "other applications open only http, https, mailto and tel URLs");
    require(!isOfServer, "other applications open no URLs of the server");
  }
  if (decision.consequence == download) {
    // Downloads send the app key, but for an about: URL no server gets a request.
    require(url.scheme == "about" || isSameOrigin,
            "a download with the key is requested only from the server");
    require(url.path == "/api/export" || url.path.starts_with("/api/bestand/"),
            "navigations download only /api/export and /api/bestand/");
  }
}

void requireConsistentDecisions(const Url &url, const std::string &base) {
  const auto decisionFor = [&](NavigationTarget target) {
    return decideNavigation({.url = url, .target = target}, base);
  };
  for (const NavigationTarget target : {mainFrame, subFrame, newWindow}) {
    requireSafe(decisionFor(target), url, base);
  }
  require(decisionFor(mainFrame) == decisionFor(newWindow),
          "a new window is decided like the main frame");
  if (decisionFor(mainFrame) != decisionFor(subFrame)) {
    require(decisionFor(mainFrame) == NavigationDecision{cancel, download} &&
                decisionFor(subFrame) == NavigationDecision{allow, none},
            "when the decisions differ, the main frame downloads and the sub-frame shows the URL");
  }
  const NavigationConsequence window = decideNewWindow(url, base);
  require(window != none, "a URL for a new window is opened or downloaded");
  require((window == download) == url.absoluteString.starts_with(base),
          "a URL for a new window is downloaded exactly when it is on the server");
  require(decideDownload(url, /*hasUserGesture=*/true, base) == window,
          "a download with a user gesture is decided like a new window");
  require(decideDownload(url, /*hasUserGesture=*/false, base) == none,
          "a download without a user gesture is dropped");
}

bool matches(const std::string &pattern, const std::string &text) {
  const std::unique_ptr<GRegex, void (*)(GRegex *)> regex(
      g_regex_new(pattern.c_str(), GRegexCompileFlags{}, GRegexMatchFlags{}, nullptr),
      g_regex_unref);
  require(regex != nullptr, "an address is converted to a valid pattern");
  return g_regex_match(regex.get(), text.c_str(), GRegexMatchFlags{}, nullptr) != FALSE;
}

/// Requires that mainFrameFilter(), the JSON rules of a WebKit content filter, blocks an address,
/// with or without a query, but not one with a letter before or after it. Skips addresses that
/// already have a query or fragment, and those with characters other than visible ASCII, because
/// WebKit serializes URLs in visible ASCII only.
void requireFilter(const std::string &address) {
  const bool isVisible = std::all_of(address.begin(), address.end(),
                                     [](char character) { return g_ascii_isgraph(character); });
  if (!isVisible || address.find_first_of("?#") != std::string::npos) return;
  const auto rules = nlohmann::json::parse(mainFrameFilter(address), nullptr, false);
  require(rules.is_array(), "rules are a JSON array");
  bool isFiltered = false;
  bool isFilteredWithQuery = false;
  for (const auto &rule : rules) {
    const std::string pattern = rule["trigger"]["url-filter"];
    isFiltered = isFiltered || matches(pattern, address);
    isFilteredWithQuery = isFilteredWithQuery || matches(pattern, address + "?one=two");
    require(!matches(pattern, address + "x") && !matches(pattern, "x" + address),
            "an address with a letter before or after it is not blocked");
  }
  require(isFiltered && isFilteredWithQuery, "the address is blocked, with and without a query");
}

}  // namespace

void testInput(std::string_view input) {
  const auto [typed, requested] = linesOf<2>(input);
  const std::string base = serverAddress(typed);
  const std::string address(requested);
  const auto server = Url::parse(base);
  const auto url = urlFromWebKit(address.c_str());
  require(decideNavigation({.url = {}}, base) == NavigationDecision{},
          "a navigation without a URL is cancelled without a consequence");
  // A server address without a host, such as "http:/", is a prefix of URLs of other servers.
  if (url && server && !server->host.empty()) requireConsistentDecisions(*url, base);
  requireFilter(address);
}

}  // namespace orvel::fuzz
