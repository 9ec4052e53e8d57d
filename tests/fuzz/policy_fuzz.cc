// Property: the main view shows only pages of its server.

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

/// Returns the server address as the application stores it.
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
          "an allowed navigation has no other consequence");
  require(decision.policy == cancel || url.scheme == "about" || isSameOrigin,
          "only pages of the server are shown");
  if (decision.consequence == open) {
    constexpr std::array<std::string_view, 4> schemes{"http", "https", "mailto", "tel"};
    require(std::find(schemes.begin(), schemes.end(), url.scheme) != schemes.end(),
            "only such addresses are opened by other applications");
    require(!isOfServer, "pages of the server are not opened by other applications");
  }
  if (decision.consequence == download) {
    require(url.scheme == "about" || isSameOrigin, "the key is sent only to the server");
    require(url.path == "/api/export" || url.path.starts_with("/api/bestand/"),
            "only files are downloaded");
  }
}

void requireFrames(const Url &url, const std::string &base) {
  const auto in = [&](NavigationTarget target) {
    return decideNavigation({.url = url, .target = target}, base);
  };
  for (const NavigationTarget target : {mainFrame, subFrame, newWindow}) {
    requireSafe(in(target), url, base);
  }
  require(in(mainFrame) == in(newWindow), "a new window is decided like the main frame");
  if (in(mainFrame) != in(subFrame)) {
    require(in(mainFrame) == NavigationDecision{cancel, download} &&
                in(subFrame) == NavigationDecision{allow, none},
            "only files differ between main frame and sub-frame");
  }
  const NavigationConsequence window = decideNewWindow(url, base);
  require(window != none, "a requested window has a consequence");
  require((window == download) == url.absoluteString.starts_with(base),
          "a requested window of the server, and no other, is a download");
  require(decideDownload(url, true, base) == window, "a download of the user is like a window");
  require(decideDownload(url, false, base) == none, "a download of a script is dropped");
}

bool matches(const std::string &pattern, const std::string &text) {
  const std::unique_ptr<GRegex, void (*)(GRegex *)> regex(
      g_regex_new(pattern.c_str(), GRegexCompileFlags{}, GRegexMatchFlags{}, nullptr),
      g_regex_unref);
  require(regex != nullptr, "an address is converted to a valid pattern");
  return g_regex_match(regex.get(), text.c_str(), GRegexMatchFlags{}, nullptr) != FALSE;
}

/// Requires that the filter matches this address and no other. WebKit serializes addresses in
/// visible ASCII.
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
            "no other address is blocked");
  }
  require(isFiltered && isFilteredWithQuery, "the address is blocked");
}

}  // namespace

void testInput(std::string_view input) {
  const auto [typed, requested] = linesOf<2>(input);
  const std::string base = serverAddress(typed);
  const std::string address(requested);
  const auto server = Url::parse(base);
  const auto url = urlFromWebKit(address.c_str());
  require(decideNavigation({.url = {}}, base) == NavigationDecision{},
          "a navigation without a URL has no decision");
  // Without a host the address is a prefix of addresses of other servers.
  if (url && server && !server->host.empty()) requireFrames(*url, base);
  requireFilter(address);
}

}  // namespace orvel::fuzz
