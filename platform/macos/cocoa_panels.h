#pragma once

#include "platform/panels.h"

namespace orvel {

/// Alerts in modal loops of their own: the completion comes inside runModal.
class CocoaPanels final : public Panels {
 public:
  /// Escape takes the last of several buttons, which is the one that refuses.
  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;
};

}  // namespace orvel
