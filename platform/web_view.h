#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/http_session.h"

namespace orvel {

/// An HTTP cookie (RFC 6265). A plain value.
struct Cookie {
  std::string name;
  std::string value;
  std::string domain;
  std::string path;
  /// Sent over https only.
  bool secure = false;
  /// A cookie without one lives as long as the session of the web view.
  std::optional<std::chrono::system_clock::time_point> expires;

  bool operator==(const Cookie &) const = default;
};

/// The cookies of a web view. Main thread only.
class CookieStore {
 public:
  virtual ~CookieStore() = default;

  /// Stores a cookie in place of one of the same name, domain and path. The
  /// completion is called exactly once, on the main thread, whether or not it
  /// could be stored; a request that the web view sends after that carries it.
  virtual void set(const Cookie &cookie, std::function<void()> completion) = 0;
  /// Gives every cookie, in the store's order, exactly once, on the main
  /// thread.
  virtual void all(std::function<void(std::vector<Cookie>)> completion) = 0;
};

struct WebViewConfiguration {
  /// Appended to the user agent of the web engine, after a blank.
  std::string applicationNameForUserAgent;
  /// Cookies and storage outlive the process.
  bool persistentDataStore = true;
  /// The inspector is offered in the page's context menu.
  bool developerExtrasEnabled = false;
  /// False lets the window's background show wherever a page paints none.
  bool drawsBackground = true;
  /// Whether the platform's developer tools may attach.
  bool inspectable = false;
};

/// Where a navigation would show its page.
enum class NavigationTarget { mainFrame, subFrame, newWindow };

enum class NavigationPolicy { allow, cancel };

/// What the page or the user wants to go to. A plain value.
struct NavigationAction {
  /// Nothing when the request has none.
  std::optional<Url> url;
  NavigationTarget target = NavigationTarget::mainFrame;
};

/// What a web view tells and asks. Main thread.
class WebViewDelegate {
 public:
  virtual ~WebViewDelegate() = default;

  /// Asked once before each navigation; what takes the place of a cancelled
  /// one has been started when this returns.
  virtual NavigationPolicy decidePolicy(const NavigationAction &action) = 0;
  /// What decidePolicy would answer, without any consequence: for an engine
  /// that does not know the target when it asks.
  virtual NavigationPolicy policyFor(const NavigationAction &action) const = 0;
  /// A request for a window of its own, by the page or the user. It gets none.
  virtual void createWebView(const std::optional<Url> &url) = 0;
  /// Shows an alert of the page. The page waits for the completion, which is called
  /// once, or never when the application ends first.
  virtual void runJavaScriptAlertPanel(const std::string &message,
                                       std::function<void()> completion) = 0;
  /// As runJavaScriptAlertPanel; the completion gets true when the user agreed.
  virtual void runJavaScriptConfirmPanel(const std::string &message,
                                         std::function<void(bool)> completion) = 0;
  /// The process that shows the page has ended by itself.
  virtual void webViewWebContentProcessDidTerminate() = 0;
};

/// The view that shows the pages. Main thread only.
class WebView {
 public:
  virtual ~WebView() = default;

  virtual void load(const UrlRequest &request) = 0;
  /// Shows a page given as text, with no base URL.
  virtual void loadHtml(std::string_view html) = 0;
  /// Loads again what is shown.
  virtual void reload() = 0;
  /// Lives as long as the view.
  virtual CookieStore &cookieStore() = 0;
};

}  // namespace orvel
