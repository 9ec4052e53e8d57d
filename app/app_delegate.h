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
struct ReleaseSignature;
struct UpdateManifest;

/// The application's state and operations. There is one instance, which runApplication and the
/// pending callbacks share. Main thread only, except for the members that say otherwise.
///
/// Each member function is defined in the file of its subsystem. "OS" in a name is the web
/// application that the application shows, and the "OS server" is its HTTP server.
class AppDelegate final : public ApplicationDelegate,
                          public WebViewDelegate,
                          public std::enable_shared_from_this<AppDelegate> {
 public:
  /// Reads the app key (`appSleutel`) from the bundle.
  AppDelegate(const Settings &settings, const Platform &platform);

  /// The web view and the window that shows it, created at launch. The view is
  /// declared first, so that it outlives the window.
  std::unique_ptr<WebView> web;
  std::unique_ptr<Window> window;
  /// The local OS server that was launched last, or null. It may have exited.
  std::shared_ptr<ChildProcess> server;
  /// Whether the application is quitting, or stops the server because the user has chosen
  /// another address. An exit of the server is then not reported as a failure.
  bool quitting = false;
  /// The key by which the server recognizes requests of this application. May be empty.
  const std::string appSleutel;

  // app/main_window.cc
  void applicationDidFinishLaunching() override;
  /// Shows an error page with a message, which is HTML. The messages name "Mac" and "⌘R" on Linux
  /// too: the texts of the product are the same on every system.
  void showError(std::string_view message);
  void reloadPage() override;
  void webViewWebContentProcessDidTerminate() override;

  // app/menu_bar.cc
  void buildMenu();

  // app/quitting.cc
  TerminateReply applicationShouldTerminate() override;
  bool applicationShouldTerminateAfterLastWindowClosed() override;

  // server/node_discovery.cc
  /// Returns the path of the node executable, or /usr/local/bin/node when none was found.
  /// May block on a shell that reads the user's configuration files.
  std::string nodePath();

  // server/stale_server.cc
  /// Stops the OS servers of this data root (`Settings::ROOT`) that still listen on the
  /// local port. After stopping one, blocks until the port is free, about 4 seconds at most.
  void killStaleServer();

  // server/launch.cc
  /// Calls killStaleServer and nodePath, both of which block, and launches the OS
  /// server of the data root. Shows the error page when the launch fails.
  void startServer();

  // server/readiness.cc
  /// Starts the local server when it is needed (`lokaal`) and begins to probe the server address
  /// with requests for "api/wie". The web view loads the address as soon as a probe succeeds.
  /// Blocks only while it starts a server.
  void openOS();
  /// Sends a probe request and returns at once. `tries` is the number of probes that have
  /// failed. Depending on the response, loads the page of the OS server, sends the next
  /// probe after a pause or shows the error page. Does nothing when the local server is
  /// needed but does not run.
  void waitForServer(int tries);

  // web/server_address.cc
  /// Returns the address of the OS server, which ends in "/": the one that the user has
  /// chosen, else the preset of the build in Info.plist, else that of this machine. Reads them at
  /// each call. Any thread.
  std::string baseURL() const;
  /// Returns whether the OS server runs on this machine. Any thread.
  bool lokaal() const;
  /// Returns a request that carries the app key. A redirect gets the key only within the
  /// same origin or to https on the same host (`isSameOriginOrUpgrade`). Any thread.
  UrlRequest metSleutel(const Url &url) const;

  // web/address_dialog.cc
  void kiesAdres() override;

  // web/navigation_policy.cc
  /// Decides on a navigation, and opens or downloads a URL that the web view does not show.
  NavigationPolicy decidePolicy(const NavigationAction &action) override;
  /// Returns the decision of decidePolicy, but neither opens nor downloads the URL.
  NavigationPolicy policyFor(const NavigationAction &action) const override;
  /// Downloads the URL of a new window or opens it outside the application. Creates no
  /// view: the name is that of the event in WebKit.
  void createWebView(const std::optional<Url> &url) override;
  /// Handles a download of the web view like a new window. Ignores one without a user gesture.
  void startDownload(const std::optional<Url> &url, bool hasUserGesture) override;

  // web/javascript_panels.cc
  void runJavaScriptAlertPanel(const std::string &message,
                               std::function<void()> completion) override;
  void runJavaScriptConfirmPanel(const std::string &message,
                                 std::function<void(bool)> completion) override;

  // web/downloads.cc
  /// Downloads a file of the server with the web view's cookies, saves it in the
  /// user's Downloads folder and opens it. Returns at once. A failure is not reported.
  void bewaarEnOpen(const Url &url);

  // update/update_check.cc
  /// Checks for a newer release and installs it. A silent check (`stil`) shows no alert when
  /// it fails or finds no newer release.
  void zoekUpdate(bool stil);
  void zoekUpdateMenu() override;
  /// Shows an alert with one button.
  void melding(const std::string &text);

  // update/installation.cc
  /// Downloads a release, replaces the running application by it and restarts the
  /// application. Returns at once. A failure leaves the application unchanged and is not reported.
  /// Downloads nothing when the running application cannot be replaced. A build with a public
  /// key (`updateKeyEntry`) installs only a release with a valid signature. Any thread.
  void installeer(const Url &archive, const std::string &versie, const ReleaseSignature &signature);

 private:
  /// Returns the request for the page of the OS server. Unlike that of metSleutel, it has no header
  /// with the app key, because the cookie (`keyCookie`) carries the key.
  UrlRequest pageRequest() const;
  /// Loads the page of the OS server. Continues as after a failed probe when the server may not get
  /// the key (`mayReceiveKey`). Does nothing when the local server is needed but has ended. `tries`
  /// is the number of probes that have failed, as in `waitForServer`.
  void loadPage(int tries);
  /// Probes the server until it is ready and then loads its page. Does nothing when the server is
  /// being probed already.
  void awaitServerForReload();
  bool isServerRunning() const { return server && server->isRunning(); }
  /// Shows an error page, unless the exit is expected.
  void serverDidExit(const std::shared_ptr<ChildProcess> &process);
  /// Shows the OS when the response to a probe has status 200. Any other response, or none, is a
  /// failed probe.
  void handleProbe(const std::optional<HttpResponse> &response, int tries);
  /// Sends the next probe after a pause or, when no probe is left, shows the error page.
  void handleFailedProbe(int tries);
  /// Stores the cookie with the app key, if there is a key, and then calls loadPage.
  void showOS(int tries);
  /// Stores the address that the user has entered and opens the OS there, or shows an alert when
  /// the address is invalid.
  void useAddress(const std::string &input);
  void perform(NavigationConsequence consequence, const Url &url);
  /// Installs a newer release. Without one, shows an alert unless the check is silent (`stil`).
  /// `manifest` is nullopt when the check has failed, `url` the URL of the manifest. Any thread.
  void handleManifest(const std::optional<UpdateManifest> &manifest, const Url &url, bool stil);
  /// Tells the user about the new version and then restarts the application. Any thread.
  void showUpdateNotice(const std::string &versie);
  void relaunch();

  const Settings settings_;
  const Platform platform_;
  bool isRelaunching_ = false;
  /// The URL of the OS server's page. Absent before its first load and after showError.
  std::optional<Url> loadedPage_;
  /// True from the first call of waitForServer that needs a probe, also when the probe is not sent
  /// because the server may not get the key, until the load of the page begins or an error page is
  /// shown.
  bool isAwaitingServer_ = false;
};

}  // namespace orvel
