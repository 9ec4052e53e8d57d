#import <AppKit/AppKit.h>
#import <WebKit/WebKit.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>

#import "platform/macos/appkit/app_delegate_bridge.h"
#import "platform/macos/foundation/cocoa_text.h"
#include "platform/macos/macos_platform.h"
#include "tests/contract/contract_platform.h"

namespace orvel {

namespace {

NSApplication *application() { return NSApplication.sharedApplication; }

/// What has been opened since the last construction of a MacosContractPlatform, as
/// ContractPlatform::opened() returns it.
std::vector<std::string> openedTargets;

/// Replaces -[NSWorkspace openURL:configuration:completionHandler:], so that the tests do not
/// start the default applications of the user. Ignores missing files, as the original does.
void recordOpening(id /*workspace*/, SEL /*command*/, NSURL *url,
                   NSWorkspaceOpenConfiguration *configuration, id /*completion*/) {
  // No error dialog when no application can open the URL.
  EXPECT_FALSE(configuration.promptsUserIfNeeded);
  if (!url.fileURL) {
    openedTargets.push_back(fromCocoa(url.absoluteString));
  } else if ([url checkResourceIsReachableAndReturnError:nil]) {
    // NSURL decomposes accented characters in the path of a file URL.
    openedTargets.push_back(fromCocoa(url.path.precomposedStringWithCanonicalMapping));
  }
}

/// Virtual key codes: kVK_Return and kVK_Escape of Carbon's HIToolbox/Events.h.
constexpr unsigned short returnKeyCode = 36;
constexpr unsigned short escapeKeyCode = 53;

/// Posts the press and the release of a key.
void postKey(NSWindow *window, NSString *characters, unsigned short keyCode) {
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
                                       keyCode:keyCode];
    [application() postEvent:event atStart:NO];
  }
}

/// Returns the window of the open alert. Throws when no alert is open.
NSWindow *alertWindow() {
  NSWindow *alert = application().modalWindow;
  if (alert == nil) throw std::logic_error("no alert is open");
  return alert;
}

/// Returns the views of a class in and below a view.
template <typename View>
std::vector<View *> viewsIn(NSView *view) {
  std::vector<View *> views;
  if ([view isKindOfClass:[View class]]) views.push_back(static_cast<View *>(view));
  for (NSView *child in view.subviews) {
    const auto below = viewsIn<View>(child);
    views.insert(views.end(), below.begin(), below.end());
  }
  return views;
}

/// Returns the text fields of the open alert, including its labels.
std::vector<NSTextField *> textFieldsOfAlert() {
  return viewsIn<NSTextField>(alertWindow().contentView);
}

/// Returns the buttons of the open alert in the order of Alert::buttons: NSAlert numbers them in
/// their tags.
std::vector<NSButton *> buttonsOfAlert() {
  std::vector<NSButton *> buttons;
  for (NSInteger tag = NSAlertFirstButtonReturn;; ++tag) {
    NSButton *button = [alertWindow().contentView viewWithTag:tag];
    if (button == nil) return buttons;
    buttons.push_back(button);
  }
}

/// The checks of runApplication(), for the exit handler, which takes no argument.
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
    openedTargets.clear();
    Method open = class_getInstanceMethod(NSWorkspace.class, @selector(openURL:
                                                                 configuration:completionHandler:));
    if (open == nullptr) throw std::logic_error("NSWorkspace has no method to open a URL");
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
    // An alert that nobody answers would never leave its modal loop, so the timer aborts the loop.
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
      // Reached only if -[NSApplication run] returns; terminate: exits inside it.
      runChecksAndExit();
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
  }

  ShownAlert shownAlert() override {
    std::vector<NSTextField *> labels = textFieldsOfAlert();
    std::erase_if(
        labels, [](NSTextField *field) { return field.editable || field.stringValue.length == 0; });
    // Sorts from top to bottom: the message is above the informative text.
    std::ranges::sort(labels, std::greater(),
                      [](NSTextField *label) { return NSMaxY(label.accessibilityFrame); });
    labels.resize(2);
    ShownAlert shown;
    shown.message = fromCocoa(static_cast<NSString *>(labels[0].accessibilityValue));
    shown.information = fromCocoa(static_cast<NSString *>(labels[1].accessibilityValue));
    for (NSButton *button : buttonsOfAlert()) {
      shown.buttons.push_back(fromCocoa(button.accessibilityTitle));
    }
    const id<NSAccessibility> defaultButton = alertWindow().accessibilityDefaultButton;
    shown.defaultButton = fromCocoa(defaultButton.accessibilityTitle);
    return shown;
  }

  void typeInAlert(const std::string &text) override {
    for (NSTextField *field : textFieldsOfAlert()) {
      if (field.editable) field.stringValue = toCocoa(text);
    }
  }

  void pressButton(const std::string &caption) override {
    for (NSButton *button : buttonsOfAlert()) {
      if (fromCocoa(button.accessibilityTitle) != caption) continue;
      [button accessibilityPerformPress];
      wakeModalLoop();
      return;
    }
    throw std::logic_error("the alert has no button " + caption);
  }

  void pressInAlert(AlertKey key) override {
    if (key == AlertKey::enter) {
      postKey(alertWindow(), @"\r", returnKeyCode);
    } else {
      postKey(alertWindow(), @"\033", escapeKeyCode);
    }
  }

  void closeAlert() override {
    alertWindow();  // Throws when no alert is open.
    [application() stopModal];
    wakeModalLoop();
  }

  std::vector<std::string> opened() override { return openedTargets; }

  bool isAlertOpen() override { return application().modalWindow != nil; }

  void killPageProcess() override {
    for (NSWindow *window in application().windows) {
      for (WKWebView *view : viewsIn<WKWebView>(window.contentView)) {
        // A private property: WebKit has no public one for the process.
        const pid_t process = [[view valueForKey:@"_webProcessIdentifier"] intValue];
        // 0 without a process; kill(2) would then kill the process group of the tests.
        if (process > 0) ::kill(process, SIGKILL);
      }
    }
  }

  void requestTermination() override { [application() terminate:nil]; }

 private:
  MacosPlatform platform_;
};

}  // namespace

std::unique_ptr<ContractPlatform> makeMacosContractPlatform() {
  return std::make_unique<MacosContractPlatform>();
}

}  // namespace orvel
