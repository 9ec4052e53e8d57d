#pragma once

#include "platform/application.h"
#import "platform/macos/appkit/app_delegate_bridge.h"

namespace orvel {

/// The shared NSApplication object. Main thread only.
class CocoaApplication final : public Application {
 public:
  /// Keeps a strong reference to the bridge, because NSApplication.delegate is weak.
  explicit CocoaApplication(AppDelegateBridge *bridge)
      : application_(NSApplication.sharedApplication), bridge_(bridge) {}

  /// Makes the bridge the delegate of NSApplication and forwards its calls to `delegate`.
  void setDelegate(ApplicationDelegate &delegate) override;
  void setRegularActivationPolicy() override;
  /// Does not return: -[NSApplication terminate:] exits the process.
  void run() override;
  void activate() override;
  void terminate() override;
  /// Also closes the open alerts, which would keep the process alive.
  void replyToShouldTerminate() override;

 private:
  NSApplication *const application_;
  AppDelegateBridge *const bridge_;
};

}  // namespace orvel
