#pragma once

#include <string_view>

#include "platform/web_view.h"

namespace orvel {

/// What the application does with a URL that it does not show in the web view.
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

/// Decides on a navigation. The web view shows only pages of the server at `baseURL`,
/// which ends in "/", and "about:" pages. Exports and files of the server are downloaded;
/// a file in an embedded frame is shown there. Other http, https, mailto and tel URLs open
/// outside the application, and all others are cancelled. Any thread.
NavigationDecision decideNavigation(const NavigationAction &action, std::string_view baseURL);

/// Decides on a URL that a page opens in a new window: the application has only one
/// window, so a URL of the server is downloaded and any other URL is opened outside the
/// application. Any thread.
NavigationConsequence decideNewWindow(const Url &url, std::string_view baseURL);

/// Decides on a download that the web engine would save. After a user gesture, decides as on a new
/// window. Without a gesture, drops the download: a script could save and open any file. Any
/// thread.
NavigationConsequence decideDownload(const Url &url, bool hasUserGesture, std::string_view baseURL);

}  // namespace orvel
