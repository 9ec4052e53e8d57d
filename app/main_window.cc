#include <chrono>
#include <utility>

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
  webConfiguration.persistentDataStore = true;
  webConfiguration.applicationNameForUserAgent = "ORVELOS/" + appSleutel;
  webConfiguration.developerExtrasEnabled = true;
  webConfiguration.drawsBackground = false;
  webConfiguration.inspectable = true;

  WindowConfiguration windowConfiguration;
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
  platform_.mainQueue.after(firstUpdateCheckDelay, [self] { self->zoekUpdate(true); });
  platform_.mainQueue.every(updateCheckInterval, [self] { self->zoekUpdate(true); });
}

void AppDelegate::showError(std::string_view message) {
  if (!web) fatalError("an error page before the web view exists");
  isPageLoaded_ = false;
  web->loadHtml(errorPage(message));
}

void AppDelegate::reloadPage() {
  if (lokaal() && !isServerRunning()) {
    openOS();
    return;
  }
  if (!web) fatalError("a reload before the web view exists");
  loadPage();
}

UrlRequest AppDelegate::pageRequest() const {
  const auto url = Url::parse(baseURL());
  if (!url) fatalError("invalid server URL: " + baseURL());
  UrlRequest request;
  request.url = *url;
  return request;
}

bool AppDelegate::canLoadPage() const {
  if (!lokaal()) return true;
  return isServerRunning() && mayReceiveKey(pageRequest().url, platform_.listeners);
}

void AppDelegate::loadPage() {
  if (!canLoadPage()) {
    waitForServer(0);
    return;
  }
  isPageLoaded_ = true;
  web->load(pageRequest());
}

// The web view calls this, so `web` is not null.
void AppDelegate::webViewWebContentProcessDidTerminate() {
  if (isPageLoaded_ && !canLoadPage()) {
    waitForServer(0);
  } else {
    web->reload();
  }
}

}  // namespace orvel
