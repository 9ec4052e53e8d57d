#import "platform/macos/appkit/cocoa_menu_bar.h"

#import <AppKit/AppKit.h>

#import "platform/macos/appkit/app_delegate_bridge.h"
#import "platform/macos/foundation/cocoa_text.h"

/// Actions that responders have without any header that says so.
@protocol UndoingResponder
- (void)undo:(id)sender;
- (void)redo:(id)sender;
@end

namespace orvel {

namespace {

SEL selectorOf(MenuAction action) {
  switch (action) {
    case MenuAction::none:
      return nil;
    case MenuAction::orderFrontStandardAboutPanel:
      return @selector(orderFrontStandardAboutPanel:);
    case MenuAction::zoekUpdateMenu:
      return @selector(zoekUpdateMenu);
    case MenuAction::kiesAdres:
      return @selector(kiesAdres);
    case MenuAction::hide:
      return @selector(hide:);
    case MenuAction::terminate:
      return @selector(terminate:);
    case MenuAction::undo:
      return @selector(undo:);
    case MenuAction::redo:
      return @selector(redo:);
    case MenuAction::cut:
      return @selector(cut:);
    case MenuAction::copy:
      return @selector(copy:);
    case MenuAction::paste:
      return @selector(paste:);
    case MenuAction::selectAll:
      return @selector(selectAll:);
    case MenuAction::reloadPage:
      return @selector(reloadPage);
    case MenuAction::toggleFullScreen:
      return @selector(toggleFullScreen:);
    case MenuAction::performMiniaturize:
      return @selector(performMiniaturize:);
  }
}

NSMenuItem *makeItem(const MenuItem &item) {
  if (item.isSeparator) return [NSMenuItem separatorItem];
  NSMenuItem *made = [[NSMenuItem alloc] initWithTitle:toCocoa(item.title)
                                                action:selectorOf(item.action)
                                         keyEquivalent:toCocoa(item.keyEquivalent)];
  if (item.withControl) {
    made.keyEquivalentModifierMask = NSEventModifierFlagCommand | NSEventModifierFlagControl;
  }
  return made;
}

NSMenu *makeMenu(const Menu &menu) {
  NSMenu *made = [[NSMenu alloc] initWithTitle:toCocoa(menu.title)];
  for (const MenuItem &item : menu.items) [made addItem:makeItem(item)];
  return made;
}

}  // namespace

void CocoaMenuBar::install(const std::vector<Menu> &menus) {
  NSApplication *application = NSApplication.sharedApplication;
  NSMenu *bar = [[NSMenu alloc] init];
  for (const Menu &menu : menus) {
    NSMenuItem *place = [[NSMenuItem alloc] init];
    [bar addItem:place];
    place.submenu = makeMenu(menu);
    if (menu.isWindowsMenu) application.windowsMenu = place.submenu;
  }
  application.mainMenu = bar;
}

}  // namespace orvel
