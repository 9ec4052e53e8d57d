#import "platform/macos/appkit/cocoa_menu_bar.h"

#import <AppKit/AppKit.h>
#include <gmock/gmock.h>

#include "app/menu_bar.h"
#import "platform/macos/foundation/cocoa_text.h"

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

class MainMenu : public testing::Test {
 protected:
  MainMenu() { CocoaMenuBar().install(menuBarDescription()); }

  /// Returns the item of any menu with this title, or nil.
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
  EXPECT_THAT(titles, ElementsAre("", "Wijzig", "Weergave", "Venster"));
}

TEST_F(MainMenu, ItemsHaveTheirTitlesActionsAndKeys) {
  NSArray<NSMenuItem *> *bar = application_.mainMenu.itemArray;
  ASSERT_EQ(bar.count, 4U);
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

TEST_F(MainMenu, ItemsHaveNoTargetAndKeepTheirTitles) {
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
