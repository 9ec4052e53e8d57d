#include "app/menu_bar.h"

#include "app/app_delegate.h"

namespace orvel {

std::vector<Menu> menuBarDescription() {
  Menu application;
  application.items = {
      {.title = "Over Orvel OS", .action = MenuAction::orderFrontStandardAboutPanel},
      {.title = "Zoek naar update…", .action = MenuAction::zoekUpdateMenu},
      {.title = "Serveradres…", .action = MenuAction::kiesAdres},
      MenuItem::separator(),
      {.title = "Verberg Orvel OS", .action = MenuAction::hide, .keyEquivalent = "h"},
      MenuItem::separator(),
      {.title = "Stop Orvel OS", .action = MenuAction::terminate, .keyEquivalent = "q"},
  };

  Menu edit;
  edit.title = "Wijzig";
  edit.items = {
      {.title = "Herstel", .action = MenuAction::undo, .keyEquivalent = "z"},
      {.title = "Opnieuw", .action = MenuAction::redo, .keyEquivalent = "Z"},
      MenuItem::separator(),
      {.title = "Knip", .action = MenuAction::cut, .keyEquivalent = "x"},
      {.title = "Kopieer", .action = MenuAction::copy, .keyEquivalent = "c"},
      {.title = "Plak", .action = MenuAction::paste, .keyEquivalent = "v"},
      {.title = "Selecteer alles", .action = MenuAction::selectAll, .keyEquivalent = "a"},
  };

  Menu view;
  view.title = "Weergave";
  view.items = {
      {.title = "Herlaad", .action = MenuAction::reloadPage, .keyEquivalent = "r"},
      {.title = "Schermvullend",
       .action = MenuAction::toggleFullScreen,
       .keyEquivalent = "f",
       .withControl = true},
  };

  Menu windows;
  windows.title = "Venster";
  windows.items = {
      {.title = "Minimaliseer", .action = MenuAction::performMiniaturize, .keyEquivalent = "m"},
  };
  windows.isWindowsMenu = true;

  return {application, edit, view, windows};
}

void AppDelegate::buildMenu() { platform_.menuBar.install(menuBarDescription()); }

}  // namespace orvel
