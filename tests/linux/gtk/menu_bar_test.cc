#include "app/menu_bar.h"

#include <gmock/gmock.h>

#include "platform/linux/gtk/gtk_commands.h"
#include "platform/linux/gtk/gtk_menu_bar.h"
#include "platform/linux/gtk/key_equivalents.h"
#include "tests/linux/menu_model.h"

namespace orvel {
namespace {

using testing::ElementsAre;

TEST(KeyEquivalents, CommandKeyBecomesControlOrSuperAndF11TogglesFullScreen) {
  MenuItem item{.title = "item"};
  EXPECT_THAT(accelerators(item), ElementsAre());
  item.keyEquivalent = "z";
  EXPECT_THAT(accelerators(item), ElementsAre("<Control>z", "<Super>z"));
  item.keyEquivalent = "Z";
  EXPECT_THAT(accelerators(item), ElementsAre("<Control><Shift>z", "<Super><Shift>z"));
  item.keyEquivalent = "f";
  item.withControl = true;
  EXPECT_THAT(accelerators(item), ElementsAre("<Control><Super>f"));
  item.action = MenuAction::toggleFullScreen;
  EXPECT_THAT(accelerators(item), ElementsAre("F11", "<Control><Super>f"));
}

TEST(GtkCommands, OnlyItemsOfEditMenuAreEditingCommands) {
  for (const Menu &menu : menuBarDescription()) {
    for (const MenuItem &item : menu.items) {
      if (item.isSeparator) continue;
      const bool isInEditMenu = menu.title == "Wijzig";
      EXPECT_EQ(isEditingCommand(item.action), isInEditMenu) << item.title;
    }
  }
}

TEST(GtkMenuBar, ItemsHaveLabelsSectionsKeysAndCommands) {
  ASSERT_TRUE(gtk_init_check());
  GtkWidget *window = gtk_window_new();
  std::vector<MenuAction> commands;
  GtkMenuBar menuBar("Orvel OS", [&](MenuAction action, GtkWindow *target) {
    EXPECT_EQ(GTK_WIDGET(target), window);
    commands.push_back(action);
  });
  menuBar.install(menuBarDescription());
  menuBar.addApplicationKeys(GTK_WINDOW(window));
  const auto bar = retain(menuBar.makeWidget());

  std::vector<std::string> items;
  forEachMenuItem(gtk_popover_menu_bar_get_menu_model(GTK_POPOVER_MENU_BAR(bar.get())),
                  [&](GMenuModel *menu, int index) {
                    items.push_back(menuAttribute(menu, index, G_MENU_ATTRIBUTE_LABEL));
                    const std::string key = menuAttribute(menu, index, "accel");
                    if (!key.empty()) items.back() += " " + key;
                    const std::string action = menuAttribute(menu, index, G_MENU_ATTRIBUTE_ACTION);
                    if (action.empty()) return;
                    // addApplicationKeys() has also given the window the actions. The activation
                    // appends the command to `commands`.
                    GVariant *command = g_menu_model_get_item_attribute_value(
                        menu, index, G_MENU_ATTRIBUTE_TARGET, nullptr);
                    gtk_widget_activate_action_variant(window, action.c_str(), command);
                    g_variant_unref(command);
                  });
  gtk_window_destroy(GTK_WINDOW(window));

  // The empty text is the beginning of a section, which GTK separates from the one before.
  EXPECT_THAT(items,
              ElementsAre("Orvel OS", "", "Over Orvel OS", "Zoek naar update…", "Serveradres…", "",
                          "Verberg Orvel OS <Control>h", "", "Stop Orvel OS <Control>q", "Wijzig",
                          "", "Herstel <Control>z", "Opnieuw <Control><Shift>z", "",
                          "Knip <Control>x", "Kopieer <Control>c", "Plak <Control>v",
                          "Selecteer alles <Control>a", "Weergave", "", "Herlaad <Control>r",
                          "Schermvullend F11", "Venster", "", "Minimaliseer <Control>m"));
  using enum MenuAction;
  EXPECT_THAT(commands, ElementsAre(orderFrontStandardAboutPanel, zoekUpdateMenu, kiesAdres, hide,
                                    terminate, undo, redo, cut, copy, paste, selectAll, reloadPage,
                                    toggleFullScreen, performMiniaturize));
}

}  // namespace
}  // namespace orvel
