#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/panels.h"

namespace orvel {

/// Alerts in modal loops of their own: the completion is called inside runModal.
class CocoaPanels final : public Panels {
 public:
  /// Reads `terminationProceeds` of the bridge before each completion.
  explicit CocoaPanels(AppDelegateBridge *bridge) : bridge_(bridge) {}

  /// Escape presses the last of several buttons, which is the one that cancels.
  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;

 private:
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
