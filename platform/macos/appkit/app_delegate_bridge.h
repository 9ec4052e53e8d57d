#pragma once

#import <AppKit/AppKit.h>
#import <WebKit/WebKit.h>

#include "platform/application.h"
#include "platform/web_view.h"

namespace orvel {

/// Posts an event without effect: a modal loop notices stopModalWithCode: only after it has
/// handled an event. Main thread.
void wakeModalLoop();

}  // namespace orvel

/// The delegate of the application object and of the web view. Forwards each call to the
/// delegates of the core. AppKit and WebKit hold weak references to it, so the platform
/// owns it. Main thread only.
@interface AppDelegateBridge : NSObject <NSApplicationDelegate, WKNavigationDelegate, WKUIDelegate>

/// Receives the calls of NSApplicationDelegate and of the menu. Set before the run loop
/// starts.
@property(nonatomic) orvel::ApplicationDelegate *applicationDelegate;
/// Receives the calls of WKNavigationDelegate and WKUIDelegate. Set before the web view
/// loads anything.
@property(nonatomic) orvel::WebViewDelegate *webViewDelegate;

/// Whether the application is terminating: a request was answered with NSTerminateNow, or the
/// reply to a deferred request has been given. NO while the reply is outstanding.
@property(nonatomic, readonly) BOOL terminationProceeds;

/// Completes a termination that was deferred with NSTerminateLater. Closes the open
/// alerts, because their modal loops are nested in the loop in which AppKit waits for the
/// reply.
- (void)proceedWithTermination;

// The actions of menu items. They omit the optional argument, the sender.

/// Action of the menu item that checks for an update.
- (void)zoekUpdateMenu;
/// Action of the menu item that opens the address dialog.
- (void)kiesAdres;
/// Action of the menu item that loads the page again.
- (void)reloadPage;

@end
