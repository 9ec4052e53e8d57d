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

/// Whether the application is on its way out and nothing can hold it up.
@property(nonatomic, readonly) BOOL terminationProceeds;

/// Ends the wait of a deferred termination. Alerts that were opened during the
/// wait are closed: their loops stand above the one that waits.
- (void)proceedWithTermination;

/// The menu's own commands; they take no sender.
- (void)zoekUpdateMenu;
- (void)kiesAdres;
- (void)reloadPage;

@end
