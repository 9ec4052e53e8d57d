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

std::vector<std::string> openedSoFar;

/// In the place of what the shared workspace does. The default applications are
/// those of whoever runs the tests, and not to be started by them.
void recordInstead(id /*workspace*/, SEL /*command*/, NSURL *url,
                   NSWorkspaceOpenConfiguration *configuration, id /*completion*/) {
  EXPECT_FALSE(configuration.promptsUserIfNeeded);
  if (url.fileURL && ![NSFileManager.defaultManager fileExistsAtPath:url.path]) return;
  // The letters of a file URL come decomposed.
  NSString *text =
      url.fileURL ? url.path.precomposedStringWithCanonicalMapping : url.absoluteString;
  openedSoFar.push_back(fromCocoa(text));
}

/// Lets a loop see that work outside any event has ended it.
void postNothing() {
  [NSApp postEvent:[NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                      location:NSZeroPoint
                                 modifierFlags:0
                                     timestamp:0
                                  windowNumber:0
                                       context:nil
                                       subtype:0
                                         data1:0
                                         data2:0]
           atStart:NO];
}

/// A press and its release.
void postKey(NSWindow *window, NSString *characters, unsigned short code) {
  for (const NSEventType type : {NSEventTypeKeyDown, NSEventTypeKeyUp}) {
    [NSApp postEvent:[NSEvent keyEventWithType:type
                                            location:NSZeroPoint
                                       modifierFlags:0
                                           timestamp:NSProcessInfo.processInfo.systemUptime
                                        windowNumber:window.windowNumber
                                             context:nil
                                          characters:characters
                         charactersIgnoringModifiers:characters
                                           isARepeat:NO
                                             keyCode:code]
             atStart:NO];
  }
}

NSWindow *frontAlert() {
  NSWindow *alert = NSApp.modalWindow;
  if (alert == nil) throw std::logic_error("there is no alert");
  return alert;
}

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

/// Ends the process with what its checks found.
[[noreturn]] void checkAndEnd() {
  (*checksAtExit)();
  std::fflush(nullptr);
  ::_exit(testing::Test::HasFailure() ? 1 : 0);
}

class MacosContractPlatform final : public ContractPlatform {
 public:
  MacosContractPlatform() {
    openedSoFar.clear();
    method_setImplementation(class_getInstanceMethod(NSWorkspace.class, @selector
                                                     (openURL:configuration:completionHandler:)),
                             reinterpret_cast<IMP>(recordInstead));
    // What an earlier test stored.
    [NSUserDefaults.standardUserDefaults
        removePersistentDomainForName:NSBundle.mainBundle.bundleIdentifier];
  }

  Platform ports() override { return platform_.ports(); }

  bool runUntil(const std::function<bool()> &condition, std::chrono::milliseconds limit) override {
    using Seconds = std::chrono::duration<NSTimeInterval>;
    NSDate *end = [NSDate dateWithTimeIntervalSinceNow:Seconds(limit).count()];
    // An alert that nobody answers has a loop of its own.
    NSTimer *alarm = [NSTimer timerWithTimeInterval:Seconds(limit).count()
                                             target:NSApp
                                           selector:@selector(abortModal)
                                           userInfo:nil
                                            repeats:NO];
    [NSRunLoop.mainRunLoop addTimer:alarm forMode:NSModalPanelRunLoopMode];
    bool holds = condition();
    while (!holds && end.timeIntervalSinceNow > 0) {
      @autoreleasepool {
        // The condition may come true on another thread, which does not wake this one.
        NSDate *soon = [NSDate dateWithTimeIntervalSinceNow:0.005];
        NSEvent *event = [NSApp nextEventMatchingMask:NSEventMaskAny
                                            untilDate:soon
                                               inMode:NSDefaultRunLoopMode
                                              dequeue:YES];
        if (event != nil) [NSApp sendEvent:event];
      }
      holds = condition();
    }
    [alarm invalidate];
    return holds;
  }

  bool onMainThread() const override { return NSThread.isMainThread; }

  // The application object ends with exit(), below which the test still stands.
  void runApplication(const std::function<void()> &checks) override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [&] {
      checksAtExit = &checks;
      std::atexit(checkAndEnd);
      ports().application.run();
      checkAndEnd();
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
  }

  void answerAlert(const AlertAnswer &answer) override {
    NSWindow *alert = frontAlert();
    editableFieldBelow(alert.contentView).stringValue = toCocoa(answer.text);
    if (!answer.button) {
      [NSApp stopModal];
      postNothing();
    } else if (NSButton *button =
                   [alert.contentView viewWithTag:NSAlertFirstButtonReturn + *answer.button]) {
      [button performClick:nil];
      postNothing();
    } else {
      // The alert's own button.
      pressInAlert(AlertKey::enter);
    }
  }

  void pressInAlert(AlertKey key) override {
    if (key == AlertKey::enter) {
      postKey(frontAlert(), @"\r", 36);
    } else {
      postKey(frontAlert(), @"\033", 53);
    }
  }

  std::vector<std::string> opened() override { return openedSoFar; }

  void requestTermination() override { [NSApp terminate:nil]; }

 private:
  MacosPlatform platform_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeMacosContractPlatform() {
  return std::make_unique<MacosContractPlatform>();
}

}  // namespace orvel
