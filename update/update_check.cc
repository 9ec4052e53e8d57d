#include "update/update_check.h"

#include <chrono>

#include "app/app_delegate.h"
#include "app/invariant.h"
#include "base/json.h"
#include "update/version.h"

namespace orvel {

namespace {

constexpr std::chrono::seconds manifestTimeout{10};

}  // namespace

std::optional<UpdateManifest> readManifest(std::string_view json) {
  const auto texts = parseJsonTexts(json);
  if (!texts) return std::nullopt;
  const auto versie = find(*texts, "versie");
  const auto zip = find(*texts, "zip");
  if (!versie || !zip) return std::nullopt;
  return UpdateManifest{*versie, *zip, {find(*texts, "handtekening"), find(*texts, "sleutel")}};
}

void AppDelegate::zoekUpdate(bool stil) {
  // With a local server, the user builds the application: the alert names the build script.
  if (lokaal()) {
    if (!stil) melding("Op deze Mac werk je de app bij met: ./scripts/build-app.sh");
    return;
  }
  const auto manifest = Url::parse(baseURL() + std::string(platform_.edition.manifestPath));
  // Malformed only if another program has changed the stored address: useAddress stores no
  // malformed one, and waitForServer aborts on one.
  if (!manifest) return;
  UrlRequest request = metSleutel(*manifest);
  request.cachePolicy = CachePolicy::reloadIgnoringLocalData;
  request.timeout = manifestTimeout;
  platform_.http.dataTask(
      request, [self = shared_from_this(), stil, url = *manifest](const DataReply &reply) {
        const bool succeeded = reply.response && reply.response->statusCode == 200 && reply.body;
        self->handleManifest(succeeded ? readManifest(*reply.body) : std::nullopt, url, stil);
      });
}

void AppDelegate::handleManifest(const std::optional<UpdateManifest> &manifest, const Url &url,
                                 bool stil) {
  const auto report = [&](const std::string &text) {
    if (stil) return;
    platform_.mainQueue.post([self = shared_from_this(), text] { self->melding(text); });
  };
  // A build with a public key installs only signed releases.
  const bool mustBeSigned = platform_.bundle.infoText(updateKeyEntry).has_value();
  if (!manifest || (mustBeSigned && !manifest->signature.handtekening)) {
    return report("Kon niet controleren op updates.");
  }
  if (!nieuwer(manifest->versie, settings_.VERSIE)) {
    return report("Orvel OS " + settings_.VERSIE + " is de nieuwste versie.");
  }
  const auto archive = Url::resolve(manifest->zip, url);
  // An empty or malformed URL counts as a broken invariant, although it comes from the server.
  if (!archive) fatalError("invalid archive URL: " + manifest->zip);
  installeer(*archive, manifest->versie, manifest->signature);
}

void AppDelegate::zoekUpdateMenu() { zoekUpdate(/*stil=*/false); }

void AppDelegate::melding(const std::string &text) {
  platform_.panels.runModal({.messageText = text}, [](const AlertAnswer &) {});
}

}  // namespace orvel
