#include <chrono>
#include <utility>

#include "app/app_delegate.h"
#include "app/invariant.h"
#include "app/pages.h"

namespace orvel {

using namespace std::chrono_literals;

void AppDelegate::applicationDidFinishLaunching() {
  buildMenu();

  WebViewConfiguration configuration;
  configuration.persistentDataStore = true;
  configuration.applicationNameForUserAgent = "ORVELOS/" + appSleutel;
  configuration.developerExtrasEnabled = true;
  configuration.drawsBackground = false;
  configuration.inspectable = true;

  WindowConfiguration style;
  style.contentRect = platform_.windows.mainScreenVisibleFrame().value_or(Rect{0, 0, 1440, 900});
  style.fullSizeContentView = true;
  style.title = "Orvel OS";
  style.titlebarTransparent = true;
  style.titleVisible = false;
  // The tone of the pages (#07090c), so that nothing flashes before they paint.
  style.backgroundColor = Color{0.027, 0.035, 0.047, 1.0};
  style.minimumWidth = 1000;
  style.minimumHeight = 660;
  style.frameAutosaveName = "ORVELOSMain";
  WebWindow made = platform_.windows.create(style, configuration, *this);
  web = std::move(made.web);
  window = std::move(made.window);

  window->makeKeyAndOrderFront();
  platform_.application.activate();
  web->loadHtml(blankPage);
  openOS();

  const auto self = shared_from_this();
  platform_.mainQueue.after(4s, [self] { self->zoekUpdate(true); });
  platform_.mainQueue.every(6h, [self] { self->zoekUpdate(true); });
}

void AppDelegate::showError(std::string_view message) {
  if (!web) fatalError("an error page before the web view exists");
  web->loadHtml(errorPage(message));
}

void AppDelegate::reloadPage() {
  if (lokaal() && (!server || !server->isRunning())) {
    openOS();
    return;
  }
  if (!web) fatalError("a reload before the web view exists");
  web->load(pageRequest());
}

UrlRequest AppDelegate::pageRequest() const {
  const auto url = Url::parse(baseURL());
  if (!url) fatalError("the server address is no URL: " + baseURL());
  UrlRequest request;
  request.url = *url;
  return request;
}

// The web view makes this call, so `web` is not null.
void AppDelegate::webViewWebContentProcessDidTerminate() { web->reload(); }

}  // namespace orvel
