// The objects that AppKit and WebKit hold after the core has launched on the macOS platform.

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include "app/app_delegate.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/macos_platform.h"
#import "platform/macos/webkit/wk_page_view.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

/// Launches the core as AppKit does, but without the event loop. The data root has no server
/// file, so no server starts.
class Launch : public testing::Test {
 protected:
  Launch() {
    platform_.interfaces().application.setDelegate(*core_);
    platform_.interfaces().application.setRegularActivationPolicy();
    NSNotification *notification =
        [NSNotification notificationWithName:NSApplicationDidFinishLaunchingNotification
                                      object:application_];
    [application_.delegate applicationDidFinishLaunching:notification];
    view_ = static_cast<WKPageView &>(*core_->web).view();
    window_ = view_.window;
  }

  Settings settings() {
    const Platform platform = platform_.interfaces();
    Settings settings = readSettings(platform.locations, platform.bundle);
    settings.HOME = settings.ROOT = root_.path();
    return settings;
  }

  NSApplication *const application_ = NSApplication.sharedApplication;
  const TemporaryFolder root_;
  MacosPlatform platform_;
  const std::shared_ptr<AppDelegate> core_ =
      std::make_shared<AppDelegate>(settings(), platform_.interfaces());
  WKWebView *view_ = nil;
  NSWindow *window_ = nil;
};

TEST_F(Launch, ApplicationIsRegularAndHasMainMenu) {
  EXPECT_EQ(application_.activationPolicy, NSApplicationActivationPolicyRegular);
  EXPECT_EQ(fromCocoa(application_.mainMenu.itemArray.lastObject.submenu.title), "Venster");
}

// The expected values of this test and the next come from app/main_window.cc and cocoa_window.mm.
TEST_F(Launch, WebViewFillsWindowUnderTransparentTitleBarAndHasFocus) {
  ASSERT_TRUE(window_ != nil);
  EXPECT_EQ(window_.styleMask, NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                   NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable |
                                   NSWindowStyleMaskFullSizeContentView);
  EXPECT_TRUE(window_.contentView == view_);
  EXPECT_TRUE(window_.firstResponder == view_);
  EXPECT_TRUE(window_.titlebarAppearsTransparent);
  EXPECT_EQ(window_.titleVisibility, NSWindowTitleHidden);
  EXPECT_EQ(fromCocoa(window_.title), "Orvel OS");
  EXPECT_EQ(window_.tabbingMode, NSWindowTabbingModeDisallowed);
  EXPECT_TRUE(NSEqualSizes(window_.minSize, NSMakeSize(1000, 660)));
}

TEST_F(Launch, WindowHasFrameAutosaveNameAndIsNeitherRestorableNorReleasedWhenClosed) {
  EXPECT_EQ(fromCocoa(window_.frameAutosaveName), "ORVELOSMain");
  EXPECT_FALSE(window_.restorable);
  EXPECT_FALSE(window_.releasedWhenClosed);
}

TEST_F(Launch, WebViewGetsConfigurationOfTheCore) {
  // The tests' Info.plist has no entry ORVELOSKey, whose text the core would append.
  EXPECT_EQ(fromCocoa(view_.configuration.applicationNameForUserAgent), "ORVELOS/");
  EXPECT_TRUE(view_.configuration.websiteDataStore.persistent);
  EXPECT_TRUE([[view_.configuration.preferences valueForKey:@"developerExtrasEnabled"] boolValue]);
  EXPECT_FALSE([[view_ valueForKey:@"drawsBackground"] boolValue]);
  if (@available(macOS 13.3, *)) EXPECT_TRUE(view_.inspectable);
}

TEST_F(Launch, BridgeIsDelegateOfApplicationAndWebView) {
  id bridge = application_.delegate;
  ASSERT_TRUE([bridge isKindOfClass:AppDelegateBridge.class]);
  EXPECT_TRUE(view_.navigationDelegate == bridge);
  EXPECT_TRUE(view_.UIDelegate == bridge);
}

}  // namespace
}  // namespace orvel
