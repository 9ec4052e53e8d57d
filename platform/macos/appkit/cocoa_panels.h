#pragma once

#import "platform/macos/appkit/app_delegate_bridge.h"
#include "platform/panels.h"

namespace orvel {

/// Alerts by NSAlert, each in a modal loop of its own. Main thread only.
class CocoaPanels final : public Panels {
 public:
  /// Reads `terminationProceeds` of the bridge before each completion.
  explicit CocoaPanels(AppDelegateBridge *bridge) : bridge_(bridge) {}

  /// Blocks until the alert has closed, and calls the completion before returning. Does not call
  /// it once `terminationProceeds` is set. Escape presses the last of several buttons.
  void runModal(const Alert &alert, std::function<void(AlertAnswer)> completion) override;

 private:
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
