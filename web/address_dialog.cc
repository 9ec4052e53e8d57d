#include <utility>

#include "app/app_delegate.h"
#include "web/server_address.h"

namespace orvel {

void AppDelegate::kiesAdres() {
  const Alert dialog{
      .messageText = "Adres van het OS",
      .informativeText =
          "Online: bijv. https://os.voorbeeld.nl\nOp deze Mac: " + settings_.LOCAL_URL,
      .buttons = {"Bewaar", "Annuleren"},
      .textField = AlertTextField{.width = 340, .height = 24, .text = baseURL()},
  };
  platform_.panels.runModal(dialog, [self = shared_from_this()](const AlertAnswer &answer) {
    if (answer.button == 0) self->useAddress(answer.text);
  });
}

void AppDelegate::useAddress(const std::string &input) {
  const std::string_view address = trimSpacesAndTabs(input);
  if (!isServerAddress(address)) {
    melding("Dat is geen geldig adres.");
    return;
  }
  platform_.defaults.setText("osURL", address);

  if (!lokaal() && isServerRunning()) {
    // serverDidExit runs later and ignores the exit, because `server` is no longer that process.
    // `quitting` only guards against a launcher that reports the exit inside terminate(). The
    // dialog may be answered while the application quits, so restore the flag instead of clearing
    // it.
    const bool wasQuitting = std::exchange(quitting, true);
    server->terminate();
    server = nullptr;
    quitting = wasQuitting;
  }
  openOS();
}

}  // namespace orvel
