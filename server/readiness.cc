#include "server/readiness.h"

#include <chrono>
#include <filesystem>
#include <system_error>

#include "app/app_delegate.h"
#include "app/invariant.h"
#include "web/server_address.h"

namespace orvel {

using namespace std::chrono_literals;

namespace {

constexpr auto probeTimeout = 3s;
constexpr auto localProbeInterval = 250ms;
constexpr auto onlineProbeInterval = 2000ms;
constexpr int maxLocalRetries = 60;
constexpr int maxOnlineRetries = 8;
// Five years of 365 days.
constexpr auto cookieLifetime = 157'680'000s;

}  // namespace

std::optional<Cookie> keyCookie(std::string_view address, bool local, const std::string &key,
                                std::chrono::system_clock::time_point now) {
  const auto url = Url::parse(address);
  if (key.empty() || !url || url->host.empty()) return std::nullopt;
  Cookie cookie;
  cookie.name = "orvelapp";
  cookie.value = key;
  cookie.domain = url->host;
  cookie.path = "/";
  cookie.secure = !local;
  cookie.expires = now + cookieLifetime;
  return cookie;
}

void AppDelegate::openOS() {
  // A server started while quitting would be orphaned.
  if (quitting) return;
  if (!lokaal()) {
    waitForServer(/*tries=*/0);
    return;
  }
  std::error_code ignored;
  if (!std::filesystem::exists(settings_.ROOT + "/v3/server.mjs", ignored)) {
    showError(
        "Deze Mac heeft het OS niet. Kies Orvel OS → Serveradres… en vul het online adres in.");
    return;
  }
  if (!isServerRunning()) startServer();
  waitForServer(/*tries=*/0);
}

void AppDelegate::waitForServer(int tries) {
  // serverDidExit, startServer or openOS shows an error page that says why, except while quitting.
  if (lokaal() && !isServerRunning()) return;

  isAwaitingServer_ = true;
  const auto url = Url::parse(baseURL() + "api/wie");
  if (!url) fatalError("invalid server URL: " + baseURL());
  if (!mayReceiveKey(*url, platform_.listeners)) {
    handleFailedProbe(tries);
    return;
  }
  UrlRequest probe = metSleutel(*url);
  probe.timeout = probeTimeout;
  platform_.http.dataTask(probe, [self = shared_from_this(), tries](const DataReply &reply) {
    // Only the status counts: a server that responds with status 200 is ready, even if
    // the body fails.
    self->platform_.mainQueue.post(
        [self, response = reply.response, tries] { self->handleProbe(response, tries); });
  });
}

void AppDelegate::handleProbe(const std::optional<HttpResponse> &response, int tries) {
  if (response && response->statusCode == 200) {
    showOS(tries);
  } else {
    handleFailedProbe(tries);
  }
}

void AppDelegate::handleFailedProbe(int tries) {
  if (tries >= (lokaal() ? maxLocalRetries : maxOnlineRetries)) {
    showError(lokaal() ? "De OS-server reageert niet. Zie ~/orvel-os/v3/.local/server.log."
                       : "Geen verbinding met " + baseURL() +
                             ". Check je internet en probeer opnieuw met ⌘R.");
    return;
  }
  platform_.mainQueue.after(lokaal() ? localProbeInterval : onlineProbeInterval,
                            [self = shared_from_this(), tries] { self->waitForServer(tries + 1); });
}

void AppDelegate::showOS(int tries) {
  if (!web) fatalError("the OS is ready before the web view exists");
  const auto cookie = keyCookie(baseURL(), lokaal(), appSleutel, platform_.clock.now());
  if (!cookie) {
    loadPage(tries);
    return;
  }
  // Loads the page in the completion, so that the page's first request already has the cookie.
  web->cookieStore().set(*cookie, [self = shared_from_this(), tries] { self->loadPage(tries); });
}

}  // namespace orvel
