#import "platform/macos/appkit/cocoa_application.h"

namespace orvel {

void CocoaApplication::setDelegate(ApplicationDelegate &delegate) {
  bridge_.applicationDelegate = &delegate;
  application_.delegate = bridge_;
}

void CocoaApplication::setRegularActivationPolicy() {
  [application_ setActivationPolicy:NSApplicationActivationPolicyRegular];
}

void CocoaApplication::run() { [application_ run]; }

void CocoaApplication::activate() { [application_ activateIgnoringOtherApps:YES]; }

void CocoaApplication::terminate() { [application_ terminate:nil]; }

void CocoaApplication::replyToShouldTerminate() { [bridge_ proceedWithTermination]; }

}  // namespace orvel
