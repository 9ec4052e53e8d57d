// The objects that AppKit and WebKit hold after the core has launched on the macOS platform.

#import <AppKit/AppKit.h>
#include <gmock/gmock.h>

#include "app/app_delegate.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/macos_platform.h"
#import "platform/macos/webkit/wk_page_view.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr NSEventModifierFlags command = NSEventModifierFlagCommand;
constexpr NSEventModifierFlags controlCommand =
    NSEventModifierFlagControl | NSEventModifierFlagCommand;

struct ItemRow {
  std::string title;
  std::string action;
  std::string key;
  NSEventModifierFlags modifiers = command;

  bool operator==(const ItemRow &) const = default;
};

void PrintTo(const ItemRow &row, std::ostream *stream) {
  *stream << row.title << " (" << row.action << ", key \"" << row.key << "\", modifiers "
          << row.modifiers << ")";
}

const ItemRow separator{};

std::vector<ItemRow> rowsOf(NSMenu *menu) {
  std::vector<ItemRow> rows;
  for (NSMenuItem *item in menu.itemArray) {
    SEL action = item.action;
    rows.push_back(item.separatorItem
                       ? separator
                       : ItemRow{fromCocoa(item.title),
                                 action == nullptr ? "" : fromCocoa(NSStringFromSelector(action)),
                                 fromCocoa(item.keyEquivalent), item.keyEquivalentModifierMask});
  }
  return rows;
}

/// Launches the core as AppKit does, without its event loop. The data root is empty, so no
/// server starts.
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

  Settings settings() const {
    Settings settings;
    settings.HOME = root_.path();
    settings.ROOT = root_.path();
    settings.LOCAL_PORT = 4767;
    settings.LOCAL_URL = "http://127.0.0.1:4767/";
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

TEST_F(Launch, MainMenuHasTitlesActionsAndKeys) {
  NSArray<NSMenuItem *> *bar = application_.mainMenu.itemArray;
  std::vector<std::string> titles;
  for (NSMenuItem *item in bar) titles.push_back(fromCocoa(item.submenu.title));
  ASSERT_THAT(titles, ElementsAre("", "Wijzig", "Weergave", "Venster"));
  EXPECT_THAT(rowsOf(bar[0].submenu),
              ElementsAreArray<ItemRow>({{"Over Orvel OS", "orderFrontStandardAboutPanel:", ""},
                                         {"Zoek naar update…", "zoekUpdateMenu", ""},
                                         {"Serveradres…", "kiesAdres", ""},
                                         separator,
                                         {"Verberg Orvel OS", "hide:", "h"},
                                         separator,
                                         {"Stop Orvel OS", "terminate:", "q"}}));
  EXPECT_THAT(rowsOf(bar[1].submenu),
              ElementsAreArray<ItemRow>({{"Herstel", "undo:", "z"},
                                         {"Opnieuw", "redo:", "Z"},
                                         separator,
                                         {"Knip", "cut:", "x"},
                                         {"Kopieer", "copy:", "c"},
                                         {"Plak", "paste:", "v"},
                                         {"Selecteer alles", "selectAll:", "a"}}));
  EXPECT_THAT(
      rowsOf(bar[2].submenu),
      ElementsAreArray<ItemRow>({{"Herlaad", "reloadPage", "r"},
                                 {"Schermvullend", "toggleFullScreen:", "f", controlCommand}}));
  // AppKit may already list the window below this item.
  EXPECT_EQ(rowsOf(bar[3].submenu).at(0), (ItemRow{"Minimaliseer", "performMiniaturize:", "m"}));
  EXPECT_TRUE(application_.windowsMenu == bar[3].submenu);
}

TEST_F(Launch, MenuItemsHaveNoTarget) {
  for (NSMenuItem *menu in application_.mainMenu.itemArray) {
    for (NSMenuItem *item in menu.submenu.itemArray) {
      if (item.action == nullptr || item.target == window_) continue;
      EXPECT_TRUE(item.target == nil) << fromCocoa(item.title);
    }
  }
}

TEST_F(Launch, PageFillsWindowUnderTransparentTitleBar) {
  ASSERT_TRUE(window_ != nil);
  EXPECT_EQ(window_.styleMask, NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                   NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable |
                                   NSWindowStyleMaskFullSizeContentView);
  EXPECT_TRUE(window_.contentView == view_);
  EXPECT_TRUE(window_.titlebarAppearsTransparent);
  EXPECT_EQ(window_.titleVisibility, NSWindowTitleHidden);
  EXPECT_EQ(fromCocoa(window_.title), "Orvel OS");
  EXPECT_EQ(window_.tabbingMode, NSWindowTabbingModeDisallowed);
  EXPECT_TRUE(NSEqualSizes(window_.minSize, NSMakeSize(1000, 660)));
}

TEST_F(Launch, WindowSavesFrameAndIsNotReleasedByClosing) {
  EXPECT_EQ(fromCocoa(window_.frameAutosaveName), "ORVELOSMain");
  EXPECT_FALSE(window_.restorable);
  EXPECT_FALSE(window_.releasedWhenClosed);
}

TEST_F(Launch, WebViewGetsConfigurationOfTheCore) {
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

TEST_F(Launch, WebViewIsFirstResponder) { EXPECT_TRUE(window_.firstResponder == view_); }

TEST_F(Launch, ActivationPolicyIsRegular) {
  EXPECT_EQ(application_.activationPolicy, NSApplicationActivationPolicyRegular);
}

}  // namespace
}  // namespace orvel
