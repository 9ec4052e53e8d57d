#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#import "platform/macos/foundation/cocoa_text.h"
#include "platform/macos/macos_platform.h"
#include "tests/contract/contract_platform.h"

namespace orvel {

namespace {

NSApplication *application() { return NSApplication.sharedApplication; }

std::vector<std::string> openedSoFar;

/// Replaces -[NSWorkspace openURL:configuration:completionHandler:], so that the tests do not
/// start the default applications of the user.
void recordOpening(id /*workspace*/, SEL /*command*/, NSURL *url,
                   NSWorkspaceOpenConfiguration *configuration, id /*completion*/) {
  EXPECT_FALSE(configuration.promptsUserIfNeeded);
  if (!url.fileURL) {
    openedSoFar.push_back(fromCocoa(url.absoluteString));
  } else if ([url checkResourceIsReachableAndReturnError:nil]) {
    // NSURL decomposes the path of a file URL.
    openedSoFar.push_back(fromCocoa(url.path.precomposedStringWithCanonicalMapping));
  }
}

/// Posts an empty event: a modal loop notices that it was stopped only after an event.
void postEmptyEvent() {
  NSEvent *event = [NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                      location:NSZeroPoint
                                 modifierFlags:0
                                     timestamp:0
                                  windowNumber:0
                                       context:nil
                                       subtype:0
                                         data1:0
                                         data2:0];
  [application() postEvent:event atStart:NO];
}

/// Posts the press and the release of a key.
void postKey(NSWindow *window, NSString *characters, unsigned short code) {
  for (const NSEventType type : {NSEventTypeKeyDown, NSEventTypeKeyUp}) {
    NSEvent *event = [NSEvent keyEventWithType:type
                                      location:NSZeroPoint
                                 modifierFlags:0
                                     timestamp:NSProcessInfo.processInfo.systemUptime
                                  windowNumber:window.windowNumber
                                       context:nil
                                    characters:characters
                   charactersIgnoringModifiers:characters
                                     isARepeat:NO
                                       keyCode:code];
    [application() postEvent:event atStart:NO];
  }
}

NSWindow *openAlert() {
  NSWindow *alert = application().modalWindow;
  if (alert == nil) throw std::logic_error("no alert is open");
  return alert;
}

/// Returns the first editable text field below a view, or nil.
NSTextField *editableFieldBelow(NSView *view) {
  for (NSView *child in view.subviews) {
    if ([child isKindOfClass:NSTextField.class]) {
      auto *field = static_cast<NSTextField *>(child);
      if ([field isEditable]) return field;
    }
    if (NSTextField *found = editableFieldBelow(child)) return found;
  }
  return nil;
}

const std::function<void()> *checksAtExit = nullptr;

/// Runs the checks and ends the process: with status 1 when an expectation failed.
[[noreturn]] void runChecksAndExit() {
  (*checksAtExit)();
  std::fflush(nullptr);
  ::_exit(testing::Test::HasFailure() ? 1 : 0);
}

class MacosContractPlatform final : public ContractPlatform {
 public:
  MacosContractPlatform() {
    openedSoFar.clear();
    Method open = class_getInstanceMethod(NSWorkspace.class, @selector(openURL:
                                                                 configuration:completionHandler:));
    if (open == nullptr) throw std::logic_error("NSWorkspace cannot open URLs");
    method_setImplementation(open, reinterpret_cast<IMP>(recordOpening));
    // Removes the values of earlier tests.
    NSString *domain = NSBundle.mainBundle.bundleIdentifier;
    if (domain == nil) throw std::logic_error("the test program has no bundle identifier");
    [NSUserDefaults.standardUserDefaults removePersistentDomainForName:domain];
  }

  Platform interfaces() override { return platform_.interfaces(); }

  bool runUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit) override {
    using Seconds = std::chrono::duration<NSTimeInterval>;
    NSDate *deadline = [NSDate dateWithTimeIntervalSinceNow:Seconds(limit).count()];
    // An unanswered alert runs a modal loop, which the timer aborts.
    NSTimer *abortTimer = [NSTimer timerWithTimeInterval:Seconds(limit).count()
                                                  target:application()
                                                selector:@selector(abortModal)
                                                userInfo:nil
                                                 repeats:NO];
    [NSRunLoop.mainRunLoop addTimer:abortTimer forMode:NSModalPanelRunLoopMode];
    bool isTrue = condition();
    while (!isTrue && deadline.timeIntervalSinceNow > 0) {
      @autoreleasepool {
        // Another thread may make the condition true without waking the run loop.
        NSDate *nextCheck = [NSDate dateWithTimeIntervalSinceNow:0.005];
        NSEvent *event = [application() nextEventMatchingMask:NSEventMaskAny
                                                    untilDate:nextCheck
                                                       inMode:NSDefaultRunLoopMode
                                                      dequeue:YES];
        if (event != nil) [application() sendEvent:event];
      }
      isTrue = condition();
    }
    [abortTimer invalidate];
    return isTrue;
  }

  bool onMainThread() const override { return NSThread.isMainThread; }

  // -[NSApplication terminate:] calls exit(), so the application runs in a death test and an
  // exit handler runs the checks.
  void runApplication(const std::function<void()> &checks) override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [&] {
      checksAtExit = &checks;
      std::atexit(runChecksAndExit);
      interfaces().application.run();
      runChecksAndExit();
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
  }

  void answerAlert(const AlertAnswer &answer) override {
    NSWindow *alert = openAlert();
    editableFieldBelow(alert.contentView).stringValue = toCocoa(answer.text);
    if (!answer.button) {
      [application() stopModal];
      postEmptyEvent();
    } else if (NSButton *button =
                   [alert.contentView viewWithTag:NSAlertFirstButtonReturn + *answer.button]) {
      [button performClick:nil];
      postEmptyEvent();
    } else {
      // An alert without buttons has a default one.
      pressInAlert(AlertKey::enter);
    }
  }

  void pressInAlert(AlertKey key) override {
    if (key == AlertKey::enter) {
      postKey(openAlert(), @"\r", 36);
    } else {
      postKey(openAlert(), @"\033", 53);
    }
  }

  std::vector<std::string> opened() override { return openedSoFar; }

  void requestTermination() override { [application() terminate:nil]; }

 private:
  MacosPlatform platform_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeMacosContractPlatform() {
  return std::make_unique<MacosContractPlatform>();
}

}  // namespace orvel
