#include "app/menu_bar.h"

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

/// An upper-case `key` includes Shift.
MenuItem item(const char *title, MenuAction action, const char *key = "", bool control = false) {
  return {.title = title, .action = action, .keyEquivalent = key, .withControl = control};
}

class MenuBarDescription : public CoreTest {};

TEST_F(MenuBarDescription, FourMenusHaveTheirItemsInOrder) {
  delegate().buildMenu();
  const std::vector<Menu> &all = fake.menuBar.menus;
  ASSERT_EQ(all.size(), 4U);
  EXPECT_EQ(all[0].title, "");
  EXPECT_THAT(all[0].items,
              ElementsAre(item("Over Orvel OS", MenuAction::orderFrontStandardAboutPanel),
                          item("Zoek naar update\u2026", MenuAction::zoekUpdateMenu),
                          item("Serveradres\u2026", MenuAction::kiesAdres), MenuItem::separator(),
                          item("Verberg Orvel OS", MenuAction::hide, "h"), MenuItem::separator(),
                          item("Stop Orvel OS", MenuAction::terminate, "q")));
  EXPECT_EQ(all[1].title, "Wijzig");
  EXPECT_THAT(
      all[1].items,
      ElementsAre(item("Herstel", MenuAction::undo, "z"), item("Opnieuw", MenuAction::redo, "Z"),
                  MenuItem::separator(), item("Knip", MenuAction::cut, "x"),
                  item("Kopieer", MenuAction::copy, "c"), item("Plak", MenuAction::paste, "v"),
                  item("Selecteer alles", MenuAction::selectAll, "a")));
  EXPECT_EQ(all[2].title, "Weergave");
  EXPECT_THAT(all[2].items, ElementsAre(item("Herlaad", MenuAction::reloadPage, "r"),
                                        item("Schermvullend", MenuAction::toggleFullScreen, "f",
                                             /*control=*/true)));
  EXPECT_EQ(all[3].title, "Venster");
  EXPECT_THAT(all[3].items, ElementsAre(item("Minimaliseer", MenuAction::performMiniaturize, "m")));
  for (const Menu &menu : all) EXPECT_EQ(menu.isWindowsMenu, menu.title == "Venster");
}

}  // namespace
}  // namespace orvel
