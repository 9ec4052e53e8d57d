#import "platform/macos/appkit/cocoa_menu_bar.h"

#import <AppKit/AppKit.h>

#import "platform/macos/appkit/app_delegate_bridge.h"
#import "platform/macos/foundation/cocoa_text.h"

/// Declares two actions for @selector (-Wundeclared-selector): text views and WKWebView respond
/// to them, but no AppKit header declares them. No class adopts the protocol.
@protocol UndoingResponder
- (void)undo:(id)sender;
- (void)redo:(id)sender;
@end

/// A menu item whose title cannot change once it is fixed.
@interface FixedTitleMenuItem : NSMenuItem
- (void)fixTitle;
@end

@implementation FixedTitleMenuItem {
  BOOL _titleIsFixed;
}

- (void)fixTitle {
  _titleIsFixed = YES;
}

// AppKit sets the titles of some items when it validates them: undo: and redo: get the name of
// the action (NSUndoManager.undoMenuItemTitle), toggleFullScreen: gets "Enter Full Screen" or
// "Exit Full Screen" (github.com/tauri-apps/tauri/issues/7828).
- (void)setTitle:(NSString *)title {
  if (!_titleIsFixed) super.title = title;
}

@end

namespace orvel {

namespace {

/// Returns the selector of an action, or a null selector for `none`.
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
  FixedTitleMenuItem *menuItem =
      [[FixedTitleMenuItem alloc] initWithTitle:toCocoa(item.title)
                                         action:selectorOf(item.action)
                                  keyEquivalent:toCocoa(item.keyEquivalent)];
  [menuItem fixTitle];
  // The default mask is the Command key alone.
  if (item.withControl) {
    menuItem.keyEquivalentModifierMask = NSEventModifierFlagCommand | NSEventModifierFlagControl;
  }
  return menuItem;
}

NSMenu *makeMenu(const Menu &menu) {
  NSMenu *cocoaMenu = [[NSMenu alloc] initWithTitle:toCocoa(menu.title)];
  for (const MenuItem &item : menu.items) [cocoaMenu addItem:makeItem(item)];
  return cocoaMenu;
}

}  // namespace

void CocoaMenuBar::install(const std::vector<Menu> &menus) {
  // Otherwise AppKit would add items for tabs to the menus Weergave and Venster as soon as the
  // menu bar has these menus.
  NSWindow.allowsAutomaticWindowTabbing = NO;
  NSApplication *application = NSApplication.sharedApplication;
  NSMenu *bar = [[NSMenu alloc] init];
  for (const Menu &menu : menus) {
    NSMenuItem *barItem = [[NSMenuItem alloc] init];
    [bar addItem:barItem];
    barItem.submenu = makeMenu(menu);
    if (menu.isWindowsMenu) application.windowsMenu = barItem.submenu;
  }
  application.mainMenu = bar;
}

}  // namespace orvel
