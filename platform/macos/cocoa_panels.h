#pragma once

#import "platform/macos/app_delegate_bridge.h"
#include "platform/panels.h"

namespace orvel {

/// Alerts in modal loops of their own: the completion comes inside runModal.
class CocoaPanels final : public Panels {
 public:
  /// The bridge tells whether the application is ending.
  explicit CocoaPanels(AppDelegateBridge *bridge) : bridge_(bridge) {}

  /// Escape takes the last of several buttons, which is the one that refuses.
  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;

 private:
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
