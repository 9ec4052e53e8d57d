#include <utility>

#include "app/app_delegate.h"

namespace orvel {

void AppDelegate::runJavaScriptAlertPanel(const std::string &message,
                                          std::function<void()> completion) {
  const Alert alert{.messageText = message};
  platform_.panels.runModal(
      alert, [completion = std::move(completion)](const AlertAnswer &) { completion(); });
}

void AppDelegate::runJavaScriptConfirmPanel(const std::string &message,
                                            std::function<void(bool)> completion) {
  const Alert alert{.messageText = message, .buttons = {"OK", "Annuleren"}};
  platform_.panels.runModal(alert, [completion = std::move(completion)](const AlertAnswer &answer) {
    completion(answer.button == 0);
  });
}

}  // namespace orvel
