#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/url_request.h"

namespace orvel {

/// An HTTP cookie (RFC 6265). A plain value.
struct Cookie {
  std::string name;
  std::string value;
  std::string domain;
  std::string path;
  /// Sent over https only.
  bool secure = false;
  /// Absent for a session cookie.
  std::optional<std::chrono::system_clock::time_point> expires;

  bool operator==(const Cookie &) const = default;
};

/// The cookies of a web view. Main thread only.
class CookieStore {
 public:
  virtual ~CookieStore() = default;

  /// Stores a cookie. Replaces a cookie with the same name, domain and path. Calls the
  /// completion exactly once, on the main thread, even when the cookie could not be
  /// stored. Requests that the web view sends after the completion carry the cookie.
  virtual void set(const Cookie &cookie, std::function<void()> completion) = 0;
  /// Calls the completion with all cookies, in the order of the store, exactly once, on
  /// the main thread.
  virtual void all(std::function<void(std::vector<Cookie>)> completion) = 0;
};

/// The configuration of a web view. A plain value.
struct WebViewConfiguration {
  /// Appended to the user agent of the web engine, after a space.
  std::string applicationNameForUserAgent;
  /// Whether cookies and storage persist after the process has ended.
  bool persistentDataStore = true;
  /// Whether the page's context menu has an item for the inspector.
  bool developerExtrasEnabled = false;
  /// False makes the web view transparent where a page paints no background.
  bool drawsBackground = true;
  /// Whether the platform's developer tools may attach.
  bool inspectable = false;
};

/// The place where a navigation would show its page.
enum class NavigationTarget { mainFrame, subFrame, newWindow };

enum class NavigationPolicy { allow, cancel };

/// A navigation that the page or the user requests. A plain value.
struct NavigationAction {
  /// Absent when the request has no URL.
  std::optional<Url> url;
  NavigationTarget target = NavigationTarget::mainFrame;
};

/// The receiver of a web view's events. It also decides on navigations. Main thread.
class WebViewDelegate {
 public:
  virtual ~WebViewDelegate() = default;

  /// Decides on a navigation. Called once before each navigation. When it cancels one, it may also
  /// start a download of the URL or open the URL in another application.
  virtual NavigationPolicy decidePolicy(const NavigationAction &action) = 0;
  /// Returns the same as decidePolicy without side effects. Where the web engine does not report
  /// the target of a navigation, the platform compares the results for the main frame
  /// and a sub-frame.
  virtual NavigationPolicy policyFor(const NavigationAction &action) const = 0;
  /// Handles a request of the page or the user for a new window. Creates no view, although its name
  /// comes from WKUIDelegate: the application has only one window.
  virtual void createWebView(const std::optional<Url> &url) = 0;
  /// Handles a download that the web engine would save: an allowed link with the download
  /// attribute, a response with the disposition "attachment", or an item of the context menu.
  /// `hasUserGesture` is false when a script started it without a click or key press of the user.
  virtual void startDownload(const std::optional<Url> &url, bool hasUserGesture) = 0;
  /// Shows a JavaScript alert. The page waits for the completion, which is called once, or
  /// never when the application ends first.
  virtual void runJavaScriptAlertPanel(const std::string &message,
                                       std::function<void()> completion) = 0;
  /// Shows a JavaScript confirm dialog, like runJavaScriptAlertPanel. The completion gets
  /// true when the user pressed the first button.
  virtual void runJavaScriptConfirmPanel(const std::string &message,
                                         std::function<void(bool)> completion) = 0;
  /// Called when the web content process has crashed or was killed.
  virtual void webViewWebContentProcessDidTerminate() = 0;
};

/// A web view. Main thread only.
class WebView {
 public:
  virtual ~WebView() = default;

  virtual void load(const UrlRequest &request) = 0;
  /// Shows an HTML page without a base URL.
  virtual void loadHtml(std::string_view html) = 0;
  /// Reloads the current page.
  virtual void reload() = 0;
  /// Returns the cookies of this view. The reference is valid until the view is destroyed.
  virtual CookieStore &cookieStore() = 0;
};

}  // namespace orvel
