#pragma once

#import <AppKit/AppKit.h>
#import <WebKit/WebKit.h>

#include "platform/application.h"
#include "platform/web_view.h"

/// Passes on what AppKit and WebKit tell and ask. AppKit and WebKit refer to it
/// weakly: the platform keeps it. Main thread only.
@interface AppDelegateBridge : NSObject <NSApplicationDelegate, WKNavigationDelegate, WKUIDelegate>

/// Set before the event loop runs.
@property(nonatomic) orvel::ApplicationDelegate *application;
/// Set before the web view loads anything.
@property(nonatomic) orvel::WebViewDelegate *page;

/// Whether the application ends and nothing can defer that any more.
@property(nonatomic, readonly) BOOL terminationProceeds;

/// Completes a termination that was deferred with NSTerminateLater. Closes the alerts
/// that are open: their modal loops are nested in the loop that waits.
- (void)proceedWithTermination;

/// The menu's own commands; they take no sender.
- (void)zoekUpdateMenu;
- (void)kiesAdres;
- (void)reloadPage;

@end
