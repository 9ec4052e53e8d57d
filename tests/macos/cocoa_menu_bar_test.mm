#import "platform/macos/appkit/cocoa_menu_bar.h"

#import <AppKit/AppKit.h>
#include <gmock/gmock.h>

#include "app/menu_bar.h"
#import "platform/macos/foundation/cocoa_text.h"

namespace orvel {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// Returns "⌘" or "⌃⌘", or the number of any other mask of modifier keys.
std::string symbolsOf(NSEventModifierFlags modifiers) {
  if (modifiers == NSEventModifierFlagCommand) return "⌘";
  if (modifiers == (NSEventModifierFlagControl | NSEventModifierFlagCommand)) return "⌃⌘";
  return "modifiers " + std::to_string(modifiers) + " ";
}

/// Returns the title, the action and the key equivalent, if any, such as "Knip cut: ⌘x", or
/// "separator".
std::string textOfItem(NSMenuItem *item) {
  if (item.separatorItem) return "separator";
  std::string text = fromCocoa(item.title);
  SEL action = item.action;
  if (action != nullptr) text += " " + fromCocoa(NSStringFromSelector(action));
  if (item.keyEquivalent.length == 0) return text;
  return text + " " + symbolsOf(item.keyEquivalentModifierMask) + fromCocoa(item.keyEquivalent);
}

std::vector<std::string> textsOf(NSMenu *menu) {
  std::vector<std::string> texts;
  for (NSMenuItem *item in menu.itemArray) texts.push_back(textOfItem(item));
  return texts;
}

class MainMenu : public testing::Test {
 protected:
  MainMenu() { CocoaMenuBar().install(menuBarDescription()); }

  /// Returns the item with this title in any menu, or nil.
  NSMenuItem *findItem(NSString *title) const {
    for (NSMenuItem *menu in application_.mainMenu.itemArray) {
      if (NSMenuItem *item = [menu.submenu itemWithTitle:title]) return item;
    }
    return nil;
  }

  NSApplication *const application_ = NSApplication.sharedApplication;
};

TEST_F(MainMenu, MenusHaveTheirTitles) {
  std::vector<std::string> titles;
  for (NSMenuItem *item in application_.mainMenu.itemArray) {
    titles.push_back(fromCocoa(item.submenu.title));
  }
  // AppKit shows the name of the application as the title of the first menu.
  EXPECT_THAT(titles, ElementsAre("", "Wijzig", "Weergave", "Venster"));
}

TEST_F(MainMenu, ItemsHaveTheirTitlesActionsAndKeyEquivalents) {
  NSArray<NSMenuItem *> *bar = application_.mainMenu.itemArray;
  ASSERT_EQ(bar.count, 4U);
  EXPECT_THAT(textsOf(bar[0].submenu), ElementsAreArray({
                                           "Over Orvel OS orderFrontStandardAboutPanel:",
                                           "Zoek naar update… zoekUpdateMenu",
                                           "Serveradres… kiesAdres",
                                           "separator",
                                           "Verberg Orvel OS hide: ⌘h",
                                           "separator",
                                           "Stop Orvel OS terminate: ⌘q",
                                       }));
  EXPECT_THAT(textsOf(bar[1].submenu), ElementsAreArray({
                                           "Herstel undo: ⌘z",
                                           "Opnieuw redo: ⌘Z",
                                           "separator",
                                           "Knip cut: ⌘x",
                                           "Kopieer copy: ⌘c",
                                           "Plak paste: ⌘v",
                                           "Selecteer alles selectAll: ⌘a",
                                       }));
  EXPECT_THAT(textsOf(bar[2].submenu), ElementsAreArray({
                                           "Herlaad reloadPage ⌘r",
                                           "Schermvullend toggleFullScreen: ⌃⌘f",
                                       }));
  // AppKit may already list windows below this item.
  EXPECT_EQ(textsOf(bar[3].submenu).at(0), "Minimaliseer performMiniaturize: ⌘m");
  EXPECT_TRUE(application_.windowsMenu == bar[3].submenu);
}

TEST_F(MainMenu, ItemsHaveNoTargetAndIgnoreNewTitles) {
  for (const Menu &menu : menuBarDescription()) {
    for (const MenuItem &item : menu.items) {
      if (item.isSeparator) continue;
      NSMenuItem *cocoaItem = findItem(toCocoa(item.title));
      ASSERT_TRUE(cocoaItem != nil) << item.title;
      EXPECT_TRUE(cocoaItem.target == nil) << item.title;
      cocoaItem.title = @"Undo Typing";
      EXPECT_EQ(fromCocoa(cocoaItem.title), item.title);
    }
  }
}

}  // namespace
}  // namespace orvel
