#import "platform/macos/appkit/app_delegate_bridge.h"

#include "base/one_shot.h"
#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

namespace {

orvel::NavigationTarget targetOf(WKNavigationAction *action) {
  if (action.targetFrame == nil) return orvel::NavigationTarget::newWindow;
  return action.targetFrame.mainFrame ? orvel::NavigationTarget::mainFrame
                                      : orvel::NavigationTarget::subFrame;
}

WKNavigationActionPolicy toWebKit(orvel::NavigationPolicy policy) {
  return policy == orvel::NavigationPolicy::allow ? WKNavigationActionPolicyAllow
                                                  : WKNavigationActionPolicyCancel;
}

}  // namespace

@implementation AppDelegateBridge {
  BOOL _terminationWaits;
}

- (void)applicationDidFinishLaunching:(NSNotification *)__unused notification {
  self.application->applicationDidFinishLaunching();
}

- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication *)__unused sender {
  // What a closed alert leads to may ask once more.
  if (_terminationProceeds) return NSTerminateNow;
  // The one that waits is the answer to every further request.
  if (_terminationWaits) return NSTerminateLater;
  _terminationWaits =
      self.application->applicationShouldTerminate() == orvel::TerminateReply::later;
  _terminationProceeds = !_terminationWaits;
  return _terminationWaits ? NSTerminateLater : NSTerminateNow;
}

- (void)proceedWithTermination {
  _terminationProceeds = YES;
  [NSApplication.sharedApplication replyToApplicationShouldTerminate:YES];
  [self closeAlerts];
}

/// The innermost alert now, those below it when their loops run again.
- (void)closeAlerts {
  NSApplication *application = NSApplication.sharedApplication;
  if (application.modalWindow == nil) return;
  [application stopModalWithCode:NSModalResponseAbort];
  // The loop looks whether it was stopped only after an event.
  [application postEvent:[NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                            location:NSZeroPoint
                                       modifierFlags:0
                                           timestamp:0
                                        windowNumber:0
                                             context:nil
                                             subtype:0
                                               data1:0
                                               data2:0]
                 atStart:NO];
  [self performSelector:@selector(closeAlerts)
             withObject:nil
             afterDelay:0.05
                inModes:@[ NSModalPanelRunLoopMode ]];
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)__unused sender {
  return self.application->applicationShouldTerminateAfterLastWindowClosed();
}

- (void)zoekUpdateMenu {
  self.application->zoekUpdateMenu();
}

- (void)kiesAdres {
  self.application->kiesAdres();
}

- (void)reloadPage {
  self.application->reloadPage();
}

- (void)webView:(WKWebView *)__unused view
    decidePolicyForNavigationAction:(WKNavigationAction *)action
                    decisionHandler:(void (^)(WKNavigationActionPolicy))handler {
  const auto answer = orvel::oneShot<WKNavigationActionPolicy>(
      [handler](WKNavigationActionPolicy policy) { handler(policy); },
      WKNavigationActionPolicyCancel);
  answer(toWebKit(self.page->decidePolicy(
      {.url = orvel::fromCocoa(action.request.URL), .target = targetOf(action)})));
}

- (WKWebView *)webView:(WKWebView *)__unused view
    createWebViewWithConfiguration:(WKWebViewConfiguration *)__unused configuration
               forNavigationAction:(WKNavigationAction *)action
                    windowFeatures:(WKWindowFeatures *)__unused features {
  self.page->createWebView(orvel::fromCocoa(action.request.URL));
  return nil;
}

- (void)webView:(WKWebView *)__unused view
    runJavaScriptAlertPanelWithMessage:(NSString *)message
                      initiatedByFrame:(WKFrameInfo *)__unused frame
                     completionHandler:(void (^)(void))handler {
  self.page->runJavaScriptAlertPanel(orvel::fromCocoa(message),
                                     orvel::oneShot<>([handler] { handler(); }));
}

- (void)webView:(WKWebView *)__unused view
    runJavaScriptConfirmPanelWithMessage:(NSString *)message
                        initiatedByFrame:(WKFrameInfo *)__unused frame
                       completionHandler:(void (^)(BOOL))handler {
  self.page->runJavaScriptConfirmPanel(
      orvel::fromCocoa(message),
      orvel::oneShot<bool>([handler](bool agreed) { handler(agreed); }, false));
}

- (void)webViewWebContentProcessDidTerminate:(WKWebView *)__unused view {
  self.page->webViewWebContentProcessDidTerminate();
}

@end
