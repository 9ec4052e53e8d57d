#include <chrono>

#include "app/app_delegate.h"
#include "app/invariant.h"
#include "app/pages.h"
#include "web/server_address.h"

namespace orvel {

using namespace std::chrono_literals;

namespace {

constexpr auto firstUpdateCheckDelay = 4s;
constexpr auto updateCheckInterval = 6h;

}  // namespace

void AppDelegate::applicationDidFinishLaunching() {
  buildMenu();

  WebViewConfiguration webConfiguration;
  // The server recognizes requests of the page by the app key in the user agent or in the cookie
  // (`keyCookie`).
  webConfiguration.applicationNameForUserAgent = "ORVELOS/" + appSleutel;
  webConfiguration.developerExtrasEnabled = true;
  webConfiguration.drawsBackground = false;
  webConfiguration.inspectable = true;

  WindowConfiguration windowConfiguration;
  // The fallback is for a system that reports no screen.
  windowConfiguration.contentRect =
      platform_.windows.mainScreenVisibleFrame().value_or(Rect{0, 0, 1440, 900});
  windowConfiguration.fullSizeContentView = true;
  windowConfiguration.title = "Orvel OS";
  windowConfiguration.titlebarTransparent = true;
  windowConfiguration.titleVisible = false;
  // The background color of the pages (#07090c), so that the window does not flash
  // before the first paint.
  windowConfiguration.backgroundColor = Color{0.027, 0.035, 0.047, 1.0};
  windowConfiguration.minimumWidth = 1000;
  windowConfiguration.minimumHeight = 660;
  windowConfiguration.frameAutosaveName = "ORVELOSMain";
  WebWindow created = platform_.windows.create(windowConfiguration, webConfiguration, *this);
  web = std::move(created.web);
  window = std::move(created.window);

  window->makeKeyAndOrderFront();
  platform_.application.activate();
  web->loadHtml(blankPage);
  openOS();

  const auto self = shared_from_this();
  platform_.mainQueue.after(firstUpdateCheckDelay, [self] { self->zoekUpdate(/*stil=*/true); });
  platform_.mainQueue.every(updateCheckInterval, [self] { self->zoekUpdate(/*stil=*/true); });
}

void AppDelegate::showError(std::string_view message) {
  if (!web) fatalError("an error page before the web view exists");
  loadedPage_.reset();
  isAwaitingServer_ = false;
  web->loadHtml(errorPage(message));
}

void AppDelegate::reloadPage() {
  if (lokaal() && !isServerRunning()) {
    openOS();
    return;
  }
  if (!web) fatalError("a reload before the web view exists");
  // While the server may not get the app key, loadPage would continue as after a failed probe. That
  // would start a second sequence of probes if one is running already.
  if (!mayReceiveKey(pageRequest().url, platform_.listeners)) {
    awaitServerForReload();
    return;
  }
  loadPage(/*tries=*/0);
}

UrlRequest AppDelegate::pageRequest() const {
  const auto url = Url::parse(baseURL());
  if (!url) fatalError("invalid server URL: " + baseURL());
  UrlRequest request;
  request.url = *url;
  return request;
}

void AppDelegate::loadPage(int tries) {
  // serverDidExit reports the exit on an error page.
  if (lokaal() && !isServerRunning()) return;
  const UrlRequest page = pageRequest();
  if (!mayReceiveKey(page.url, platform_.listeners)) {
    handleFailedProbe(tries);
    return;
  }
  loadedPage_ = page.url;
  isAwaitingServer_ = false;
  web->load(page);
}

void AppDelegate::awaitServerForReload() {
  if (!isAwaitingServer_) waitForServer(/*tries=*/0);
}

// The web view calls this, so `web` is not null.
void AppDelegate::webViewWebContentProcessDidTerminate() {
  if (loadedPage_ && isLocalAddress(loadedPage_->absoluteString)) {
    // The exit of the server leads to an error page (serverDidExit) or, after a change of the
    // server address, to the page at the new address (openOS).
    if (!isServerRunning()) return;
    if (!mayReceiveKey(*loadedPage_, platform_.listeners)) {
      awaitServerForReload();
      return;
    }
  }
  web->reload();
}

}  // namespace orvel
