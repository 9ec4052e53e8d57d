#import "platform/macos/appkit/app_delegate_bridge.h"

#include "base/one_shot.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace {

/// Returns where a navigation would show its page. WebKit gives no target frame for a new
/// window (WKNavigationAction.targetFrame).
orvel::NavigationTarget targetOf(WKNavigationAction *action) {
  if (action.targetFrame == nil) return orvel::NavigationTarget::newWindow;
  return action.targetFrame.mainFrame ? orvel::NavigationTarget::mainFrame
                                      : orvel::NavigationTarget::subFrame;
}

/// The seconds from stopping the modal loop of an alert to stopping the loop around it. A loop that
/// has not returned by then is stopped again.
constexpr NSTimeInterval closeAlertsInterval = 0.05;

WKNavigationActionPolicy toWebKit(orvel::NavigationPolicy policy) {
  return policy == orvel::NavigationPolicy::allow ? WKNavigationActionPolicyAllow
                                                  : WKNavigationActionPolicyCancel;
}

}  // namespace

namespace orvel {

void wakeModalLoop() {
  NSEvent *event = [NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                      location:NSZeroPoint
                                 modifierFlags:0
                                     timestamp:0
                                  windowNumber:0
                                       context:nil
                                       subtype:0
                                         data1:0
                                         data2:0];
  [NSApplication.sharedApplication postEvent:event atStart:NO];
}

}  // namespace orvel

@implementation AppDelegateBridge {
  BOOL _terminationIsDeferred;
}

- (void)applicationDidFinishLaunching:(NSNotification *)__unused notification {
  self.applicationDelegate->applicationDidFinishLaunching();
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)__unused sender {
  // Code that runs after an alert was closed may request termination again.
  if (_terminationProceeds) return NSTerminateNow;
  // A request that arrives while another one is deferred gets the same answer.
  if (_terminationIsDeferred) return NSTerminateLater;
  _terminationIsDeferred =
      self.applicationDelegate->applicationShouldTerminate() == orvel::TerminateReply::later;
  _terminationProceeds = !_terminationIsDeferred;
  return _terminationIsDeferred ? NSTerminateLater : NSTerminateNow;
}

- (void)proceedWithTermination {
  _terminationProceeds = YES;
  [NSApplication.sharedApplication replyToApplicationShouldTerminate:YES];
  [self closeAlerts];
}

/// Stops the innermost modal loop, and schedules itself for the loop around it.
- (void)closeAlerts {
  NSApplication *application = NSApplication.sharedApplication;
  if (application.modalWindow == nil) return;
  [application stopModalWithCode:NSModalResponseAbort];
  orvel::wakeModalLoop();
  [self performSelector:@selector(closeAlerts)
             withObject:nil
             afterDelay:closeAlertsInterval
                inModes:@[ NSModalPanelRunLoopMode ]];
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)__unused sender {
  return self.applicationDelegate->applicationShouldTerminateAfterLastWindowClosed();
}

// Without this method AppKit logs a warning at each start (macOS 14). YES is safe: the window is
// not restorable, so AppKit never decodes a saved state.
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication *)__unused sender {
  return YES;
}

- (void)zoekUpdateMenu {
  self.applicationDelegate->zoekUpdateMenu();
}

- (void)kiesAdres {
  self.applicationDelegate->kiesAdres();
}

- (void)reloadPage {
  self.applicationDelegate->reloadPage();
}

- (void)webView:(WKWebView *)__unused view
    decidePolicyForNavigationAction:(WKNavigationAction *)action
                    decisionHandler:(void (^)(WKNavigationActionPolicy))handler {
  // WebKit requires a call of the handler. If an exception leaves this method, oneShot calls it
  // with WKNavigationActionPolicyCancel.
  const auto decide = orvel::oneShot<WKNavigationActionPolicy>(
      [handler](WKNavigationActionPolicy policy) { handler(policy); },
      WKNavigationActionPolicyCancel);
  decide(toWebKit(self.webViewDelegate->decidePolicy(
      {.url = orvel::fromCocoa(action.request.URL), .target = targetOf(action)})));
}

- (WKWebView *)webView:(WKWebView *)__unused view
    createWebViewWithConfiguration:(WKWebViewConfiguration *)__unused configuration
               forNavigationAction:(WKNavigationAction *)action
                    windowFeatures:(WKWindowFeatures *)__unused features {
  self.webViewDelegate->createWebView(orvel::fromCocoa(action.request.URL));
  // For nil, WebKit opens no window.
  return nil;
}

- (void)webView:(WKWebView *)__unused view
    runJavaScriptAlertPanelWithMessage:(NSString *)message
                      initiatedByFrame:(WKFrameInfo *)__unused frame
                     completionHandler:(void (^)(void))handler {
  // An alert that quitting closes drops its completion uncalled. oneShot then calls the handler.
  self.webViewDelegate->runJavaScriptAlertPanel(orvel::fromCocoa(message),
                                                orvel::oneShot<>([handler] { handler(); }));
}

- (void)webView:(WKWebView *)__unused view
    runJavaScriptConfirmPanelWithMessage:(NSString *)message
                        initiatedByFrame:(WKFrameInfo *)__unused frame
                       completionHandler:(void (^)(BOOL))handler {
  self.webViewDelegate->runJavaScriptConfirmPanel(
      orvel::fromCocoa(message),
      orvel::oneShot<bool>([handler](bool agreed) { handler(agreed); }, false));
}

- (void)webViewWebContentProcessDidTerminate:(WKWebView *)__unused view {
  self.webViewDelegate->webViewWebContentProcessDidTerminate();
}

@end
