#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "app/settings.h"
#include "platform/platform.h"

namespace orvel {

enum class NavigationConsequence;
struct UpdateManifest;

/// The one object of the application: what it holds and what it can do. Made
/// once, kept by a shared pointer until the process ends. Main thread only,
/// but for the members that say otherwise.
///
/// Each operation is defined in the file of its subsystem.
class AppDelegate final : public ApplicationDelegate,
                          public WebViewDelegate,
                          public std::enable_shared_from_this<AppDelegate> {
 public:
  /// Reads the app key from the bundle.
  AppDelegate(const Settings &settings, const Platform &platform);

  /// The web view and the window that shows it, made at launch and kept; the
  /// view goes last, for the window needs it.
  std::unique_ptr<WebView> web;
  std::unique_ptr<Window> window;
  /// The local OS server that was launched last; it may have exited since.
  std::shared_ptr<ChildProcess> server;
  /// The application stops the server on purpose: its exit is no failure.
  bool quitting = false;
  /// Tells the server that a request comes from this application.
  const std::string appSleutel;

  // app/main_window.cc
  void applicationDidFinishLaunching() override;
  /// Shows a message in place of the page. The text is taken as HTML.
  void showError(std::string_view message);
  void reloadPage() override;
  void webViewWebContentProcessDidTerminate() override;

  // app/menu_bar.cc
  void buildMenu();

  // app/quitting.cc
  TerminateReply applicationShouldTerminate() override;
  bool applicationShouldTerminateAfterLastWindowClosed() override;

  // server/node_discovery.cc
  /// The path of the node executable; a likely one when none was found. May
  /// block on a shell that reads the user's settings.
  std::string nodePath();

  // server/stale_server.cc
  /// Ends OS servers of this data root that still listen on the local port,
  /// and waits until the port is free, 4 seconds at the most.
  void killStaleServer();

  // server/launch.cc
  /// Launches the OS server of the data root. A failure shows on the error
  /// page. Blocks for the clean-up and the look-up that go before.
  void startServer();

  // server/readiness.cc
  /// Brings the OS into the web view: starts the local server when it is
  /// needed, and waits until the address answers.
  void openOS();
  /// Sends probe number `tries` and goes on from its answer.
  void waitForServer(int tries);

  // web/server_address.cc
  /// The address of the OS server, ending in "/"; read afresh each time. Any
  /// thread.
  std::string baseURL() const;
  /// Whether the address is one of this machine. Any thread.
  bool lokaal() const;
  /// Returns a request that carries the app key. Redirects to another origin do not
  /// get the key (isSameOriginOrUpgrade). Any thread.
  UrlRequest metSleutel(const Url &url) const;

  // web/address_dialog.cc
  void kiesAdres() override;

  // web/navigation_policy.cc
  NavigationPolicy decidePolicy(const NavigationAction &action) override;
  NavigationPolicy policyFor(const NavigationAction &action) const override;
  void createWebView(const std::optional<Url> &url) override;

  // web/javascript_panels.cc
  void runJavaScriptAlertPanel(const std::string &message,
                               std::function<void()> completion) override;
  void runJavaScriptConfirmPanel(const std::string &message,
                                 std::function<void(bool)> completion) override;

  // web/downloads.cc
  /// Downloads a file of the server with the web view's cookies, puts it into
  /// the user's Downloads folder and opens it. Returns at once; a failure shows
  /// nowhere.
  void bewaarEnOpen(const Url &url);

  // update/update_check.cc
  /// Looks for a newer release. A silent check (`stil`) reports nothing.
  void zoekUpdate(bool stil);
  void zoekUpdateMenu() override;
  /// Shows a notice with one button.
  void melding(const std::string &text);

  // update/installation.cc
  /// Downloads a release, replaces the running application by it and restarts the
  /// application. Returns at once. A failure changes nothing and is not reported.
  /// Downloads nothing when the running application cannot be replaced. Any thread.
  void installeer(const Url &archive, const std::string &versie);

 private:
  /// What every page load of the OS uses: no key, which the cookie carries.
  UrlRequest pageRequest() const;
  void serverDidExit(const std::shared_ptr<ChildProcess> &task);
  void handleProbe(const std::optional<HttpResponse> &response, int tries);
  void showOS();
  void useAddress(const std::string &typed);
  void perform(NavigationConsequence consequence, const Url &url);
  void handleManifest(const std::optional<UpdateManifest> &manifest, const Url &url, bool stil);
  void showUpdateNotice(const std::string &versie);
  void relaunch();

  const Settings settings_;
  const Platform platform_;
  bool isRelaunching_ = false;
};

}  // namespace orvel
