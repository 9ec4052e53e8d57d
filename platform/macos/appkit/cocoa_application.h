#pragma once

#include "platform/application.h"
#import "platform/macos/appkit/app_delegate_bridge.h"

namespace orvel {

/// The shared application object.
class CocoaApplication final : public Application {
 public:
  /// Keeps the bridge, as the application object does not.
  explicit CocoaApplication(AppDelegateBridge *bridge)
      : application_(NSApplication.sharedApplication), bridge_(bridge) {}

  void setDelegate(ApplicationDelegate &delegate) override;
  void setRegularActivationPolicy() override;
  /// Does not return: the application object ends the process.
  void run() override;
  void activate() override;
  void terminate() override;
  void replyToShouldTerminate() override;

 private:
  NSApplication *const application_;
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
