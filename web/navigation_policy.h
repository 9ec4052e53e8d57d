#pragma once

#include <optional>
#include <string_view>

#include "platform/web_view.h"

namespace orvel {

/// What takes the place of a navigation.
enum class NavigationConsequence {
  none,
  /// The user's default application opens the URL.
  open,
  /// The file is downloaded and opened.
  download,
};

struct NavigationDecision {
  NavigationPolicy policy = NavigationPolicy::cancel;
  NavigationConsequence consequence = NavigationConsequence::none;

  bool operator==(const NavigationDecision &) const = default;
};

/// Decides a navigation. The web view shows the server whose address `baseURL`
/// is, which ends in "/", and nothing else; of that server it does not show
/// what is there to be kept, unless inside an embedded frame.
NavigationDecision decideNavigation(const NavigationAction &action, std::string_view baseURL);

/// Decides what becomes of a URL that was to have a window of its own: there is
/// but one window.
NavigationConsequence decideNewWindow(const std::optional<Url> &url, std::string_view baseURL);

}  // namespace orvel
