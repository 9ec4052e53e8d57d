// The faults that plant_faults.mjs plants. Each edit replaces a text that its file contains once.
//
// oneShot wraps a completion handler so that it is called exactly once. CFPointer and createdBy
// give a Core Foundation object an owner that releases it.

const bridge = 'platform/macos/appkit/app_delegate_bridge.mm';
const bridgeHeader = 'platform/macos/appkit/app_delegate_bridge.h';
const application = 'platform/macos/appkit/cocoa_application.mm';
const menu = 'platform/macos/appkit/cocoa_menu_bar.mm';
const window = 'platform/macos/appkit/cocoa_window.mm';
const pageWindow = 'platform/macos/appkit/page_window.mm';
const view = 'platform/macos/webkit/wk_page_view.mm';
const cookies = 'platform/macos/webkit/wk_cookie_store.mm';
const redirect = 'platform/macos/http/redirect_guard.mm';
const session = 'platform/macos/http/shared_url_session.mm';
const mainQueue = 'platform/macos/foundation/run_loop_main_queue.mm';
const background = 'platform/macos/foundation/dispatch_background_queue.mm';
const text = 'platform/macos/foundation/cocoa_text.mm';
const signature = 'platform/macos/foundation/code_signature.mm';
const url = 'platform/macos/foundation/url.mm';
const infoPlist = 'packaging/macos/Info.plist.in';
const entitlements = 'packaging/macos/orvel-os.entitlements';
const buildApp = 'scripts/build-app.sh';

// Returns the faults of a category. A row is: file, description, text, replacement, and further
// pairs of texts and replacements.
function faultsInCategory(category, rows) {
  return rows.map(([file, fault, ...texts]) => ({
    category,
    file,
    fault,
    edits: texts.flatMap((found, index) => (index % 2 === 0 ? [[found, texts[index + 1]]] : [])),
  }));
}

const availabilityCheck = 'if (@available(macOS 13.3, *)) view_.inspectable';
const emptyDictionary = '<dict/>';
const entitled = (key) => `<dict>\n\t<key>${key}</key>\n\t<true/>\n</dict>`;

export const faults = [
  ...faultsInCategory('types', [
    [redirect, 'an object for a BOOL property', 'Cookies = _request.HTTPShouldHandleCookies;', 'Cookies = _request;'],
    [bridge, 'another type for the argument of a handler', 'completionHandler:(void (^)(BOOL))handler', 'completionHandler:(void (^)(NSString *))handler'],
    [bridge, 'another result type of a delegate method', '- (BOOL)applicationShouldTerminateAfterLastWindowClosed:', '- (NSInteger)applicationShouldTerminateAfterLastWindowClosed:'],
    [window, 'a rectangle for a size', 'NSMakeSize(configuration', 'NSMakeRect(0, 0, configuration'],
    [cookies, 'a set for an array in a completion', '^(NSArray<NSHTTPCookie *> *found)', '^(NSSet<NSHTTPCookie *> *found)'],
    [session, 'a narrowing conversion', 'static_cast<int>(http.statusCode)', 'http.statusCode'],
    ['platform/macos/foundation/file_manager_locations.mm', 'a string for a URL', 'replaceItemAtURL:fileUrl(original)', 'replaceItemAtURL:toCocoa(original)'],
  ]),
  ...faultsInCategory('nullability', [
    [url, 'a nullable text for a nonnull parameter', 'URLWithString:toCocoa(escaped)', 'URLWithString:utf8Text(escaped)'],
    [bridge, 'nil for a nonnull event', 'postEvent:event atStart:NO', 'postEvent:nil atStart:event != nil'],
    ['platform/macos/foundation/standard_user_defaults.mm', 'nil for nonnull defaults', 'registerDefaults:@{@"NSTreatUnknownArgumentsAsOpen" : @"NO"}', 'registerDefaults:nil'],
    [view, 'a nullable text as HTML', 'loadHTMLString:toCocoa(html)', 'loadHTMLString:utf8Text(html)'],
  ]),
  ...faultsInCategory('selectors', [
    [bridge, 'an unknown selector of a delayed call', '@selector(closeAlerts)', '@selector(closeAlert)'],
    [menu, 'the selector of another action that exists', '@selector(hide:)', '@selector(hideOtherApplications:)'],
    [menu, 'Cut copies', '@selector(cut:)', '@selector(copy:)', 'return @selector(copy:);\n    case MenuAction::paste', 'return @selector(cut:);\n    case MenuAction::paste'],
    [menu, 'the selector of a method without validation', '@selector(performMiniaturize:)', '@selector(miniaturize:)'],
    [menu, 'a misspelt selector', '@selector(toggleFullScreen:)', '@selector(toggleFullscreen:)'],
    [menu, 'the reload action of the web view', '@selector(reloadPage)', '@selector(reload:)'],
    [menu, 'a selector without its argument', '@selector(selectAll:)', '@selector(selectAll)'],
    [view, 'an unknown message', '[view_ reload]', '[view_ reloadPage]'],
    [window, 'a message that saves the frame only once', 'setFrameAutosaveName:', 'saveFrameUsingName:'],
  ]),
  ...faultsInCategory('delegates', [
    [bridge, 'a misspelt method', ')applicationDidFinishLaunching:', ')applicationDidFinishLaunch:'],
    [bridge, 'a misspelt method for termination requests', ')applicationShouldTerminate:', ')applicationShouldTerminates:'],
    [bridge, 'a missing method', '- (void)webViewWebContentProcessDidTerminate:(WKWebView *)__unused view {\n  self.webViewDelegate->webViewWebContentProcessDidTerminate();\n}\n', ''],
    [bridge, 'a missing method for state restoration', '- (BOOL)applicationSupportsSecureRestorableState:(NSApplication *)__unused sender {\n  return YES;\n}\n', ''],
    [bridge, 'a misspelt keyword', 'windowFeatures:(WKWindowFeatures', 'windowFeature:(WKWindowFeatures'],
    [bridge, 'another spelling of JavaScript', 'runJavaScriptAlertPanelWithMessage:', 'runJavascriptAlertPanelWithMessage:'],
    [bridge, 'a misspelt method in another layout', '- (void)applicationDidFinishLaunching:(NSNotification *)__unused notification {', '-(void)\n    applicationDidFinishLaunchin:\n    (NSNotification *)__unused notification\n{'],
    [bridge, 'a class method (+) for an instance method (-)', '- (void)webViewWebContentProcessDidTerminate', '+ (void)webViewWebContentProcessDidTerminate'],
    [bridge, 'two methods with swapped names', ')applicationShouldTerminateAfterLastWindowClosed:', ')swapped:', ')applicationSupportsSecureRestorableState:', ')applicationShouldTerminateAfterLastWindowClosed:', ')swapped:', ')applicationSupportsSecureRestorableState:'],
    [pageWindow, 'a misspelt method of the window', '- (void)becomeKeyWindow {', '- (void)becameKeyWindow {'],
    [redirect, 'a misspelt method of the session task', 'willPerformHTTPRedirection:', 'willPerformHTTPRedirect:'],
    [view, 'no navigation delegate', '  view_.navigationDelegate = bridge;\n', ''],
    [view, 'nil as UI delegate', 'view_.UIDelegate = bridge;', 'view_.UIDelegate = nil;'],
    [view, 'a bridge without the delegate of the web view', '  bridge.webViewDelegate = &delegate;\n', '  (void)delegate;\n'],
    [application, 'no application delegate', '  application_.delegate = bridge_;\n', ''],
    [application, 'a bridge without the delegate of the application', '  bridge_.applicationDelegate = &delegate;\n', '  (void)delegate;\n'],
    [session, 'a delegate that no task gets', 'task.delegate = [', '(void)['],
  ]),
  ...faultsInCategory('availability', [
    [view, 'a property of 13.3 without an availability check', availabilityCheck, 'view_.inspectable'],
    [view, 'an availability check for an older version', 'macOS 13.3', 'macOS 13.0'],
    [url, 'an availability check for an older version', 'macOS 14.0', 'macOS 13.0'],
    [url, 'a method of 14.0 outside the availability check', 'return [NSURL URLWithString:text];', 'return [NSURL URLWithString:text encodingInvalidCharacters:NO];'],
    [application, 'a method of 14.0', '[application_ activateIgnoringOtherApps:YES]', '[application_ activate]'],
    [application, 'a method of 14.0 by NSApp', '[application_ activateIgnoringOtherApps:YES]', '[NSApp activate]'],
    [bridge, 'NSApp for NSApplication.sharedApplication', 'NSApplication.sharedApplication replyTo', 'NSApp replyTo'],
  ]),
  ...faultsInCategory('conformance', [
    [bridgeHeader, 'no WKUIDelegate', ', WKUIDelegate>', '>'],
    [bridgeHeader, 'no WKNavigationDelegate', 'WKNavigationDelegate, ', ''],
    [bridgeHeader, 'no NSApplicationDelegate', 'NSApplicationDelegate, ', ''],
    ['platform/macos/http/redirect_guard.h', 'the protocol of session delegates, not of task delegates', '<NSURLSessionTaskDelegate>', '<NSURLSessionDelegate>'],
    ['platform/macos/foundation/run_loop_main_queue.h', 'a signature that differs from the interface', 'void post(std::function<void()> work) override;', 'void post(const std::function<void()> &work) override;'],
  ]),
  ...faultsInCategory('retain', [
    ['platform/macos/macos_platform.h', 'a weak reference to the bridge', 'AppDelegateBridge *const bridge_;', '__weak AppDelegateBridge *bridge_;'],
    ['platform/macos/appkit/cocoa_window.h', 'an unretained window', 'NSWindow *const window_;', '__unsafe_unretained NSWindow *window_;'],
    ['platform/macos/webkit/wk_page_view.h', 'a weak web view', 'WKWebView *const view_;', '__weak WKWebView *view_;'],
    ['platform/macos/webkit/wk_cookie_store.h', 'a weak cookie store', 'WKHTTPCookieStore *const store_;', '__weak WKHTTPCookieStore *store_;'],
    [redirect, 'a weak request', '  NSURLRequest *_request;', '  __weak NSURLRequest *_request;'],
    [window, 'a window that closing releases once more', 'releasedWhenClosed = NO', 'releasedWhenClosed = YES'],
    [window, 'the default for closing, which releases', '  window_.releasedWhenClosed = NO;\n', ''],
  ]),
  ...faultsInCategory('Core Foundation', [
    [mainQueue, 'a timer without an owner', 'const CFPointer<CFRunLoopTimerRef> timer(', 'const CFRunLoopTimerRef timer = (', 'timer.get()', 'timer'],
    [mainQueue, 'a retain', '    CFRunLoopAddSource(', '    CFRetain(runLoopSource_.get());\n    CFRunLoopAddSource('],
    [mainQueue, 'a second release', 'timer.get(), kCFRunLoopCommonModes);', 'timer.get(), kCFRunLoopCommonModes);\n  CFRelease(timer.get());'],
    [mainQueue, 'an owner that gives up its object', 'timer.get(), kCF', 'const_cast<CFPointer<CFRunLoopTimerRef> &>(timer).release(), kCF'],
    [mainQueue, 'an owner for an object that it did not create', '  using Seconds = std::chrono::duration<CFTimeInterval>;', '  const CFPointer<CFRunLoopRef> loop(CFRunLoopGetMain());\n  using Seconds = std::chrono::duration<CFTimeInterval>;'],
    [signature, 'a bridged pointer to a released URL', '  NSURL *url = fileUrl(path);', '  auto *url = (__bridge CFURLRef)fileUrl(path);', '(__bridge CFURLRef)url', 'url'],
    [signature, 'a Security object without an owner', 'const auto running = createdBy<CFPointer<SecCodeRef>>(SecCodeCopySelf, kSecCSDefaultFlags);\n  if (!running)', 'SecCodeRef running = nullptr;\n  if (SecCodeCopySelf(kSecCSDefaultFlags, &running) != errSecSuccess)', 'running.get()', 'running'],
    [text, 'a bridged cast without a transfer of ownership', 'return CFBridgingRelease(', 'return (__bridge NSString *)('],
    [text, 'the release of a constant', 'std::string fromCocoa(NSString *text) {', 'std::string fromCocoa(NSString *text) {\n  NSString *mode = CFBridgingRelease(kCFRunLoopCommonModes);\n  if (text == mode) return {};'],
    [text, 'a retain that nothing balances', 'std::string fromCocoa(NSString *text) {', 'std::string fromCocoa(NSString *text) {\n  if (CFBridgingRetain(text) == nullptr) return {};'],
  ]),
  ...faultsInCategory('handlers', [
    [bridge, 'a handler without oneShot', '  const auto decide = orvel::oneShot<WKNavigationActionPolicy>(\n      [handler](WKNavigationActionPolicy policy) { handler(policy); },\n      WKNavigationActionPolicyCancel);', '  const auto &decide = handler;'],
    [bridge, 'a handler that is never called', '  decide(toWebKit(', '  (void)(toWebKit(', '[handler](WKNavigationActionPolicy policy) { handler(policy); }', '[](WKNavigationActionPolicy) {}'],
    [bridge, 'an alert without oneShot', 'orvel::oneShot<>([handler] { handler(); })', '[handler] { handler(); }'],
    [bridge, 'a confirm dialog without oneShot', 'orvel::oneShot<bool>([handler](bool agreed) { handler(agreed); }, false)', '[handler](bool agreed) { handler(agreed); }'],
    [bridge, 'a handler kept in a block variable', '  self.webViewDelegate->runJavaScriptAlertPanel(', '  void (^kept)(void) = handler;\n  kept();\n  self.webViewDelegate->runJavaScriptAlertPanel('],
    [redirect, 'a handler called without oneShot', '  follow(next);', '  handler(next);'],
    [redirect, 'a second call of the handler', '  follow(next);', '  follow(next);\n  handler(next);'],
    [redirect, 'a handler that nothing uses', '[handler](NSURLRequest *next) { handler(next); }', '[](NSURLRequest *) {}'],
    [bridge, 'the wrong answer for a dropped confirm dialog', 'handler(agreed); }, false)', 'handler(agreed); }, true)'],
  ]),
  ...faultsInCategory('key-value coding', [
    [view, 'a misspelt key', '@"drawsBackground"', '@"drawBackground"'],
    [view, 'another key', '@"developerExtrasEnabled"', '@"developerExtras"'],
    [view, 'a further private key', '  bridge.webViewDelegate = &delegate;', '  bridge.webViewDelegate = &delegate;\n  [view_ setValue:@YES forKey:@"allowsInspection"];'],
    [view, 'a key that is not a literal', '@"drawsBackground"', 'NSStringFromSelector(@selector(isOpaque))'],
    [view, 'no check for the setter', 'setPrivateSetting(view_, @"drawsBackground", configuration.drawsBackground)', '[view_ setValue:@(configuration.drawsBackground) forKey:@"drawsBackground"]'],
  ]),
  ...faultsInCategory('property list', [
    [infoPlist, 'no arbitrary loads', '<key>NSAllowsArbitraryLoads</key>\n\t\t<true/>', '<key>NSAllowsArbitraryLoads</key>\n\t\t<false/>'],
    [infoPlist, 'a misspelt key', '<key>NSAppTransportSecurity</key>', '<key>NSAppTransportSecurty</key>'],
    [infoPlist, 'a key that disables NSAllowsArbitraryLoads', '<key>NSAllowsArbitraryLoads</key>', '<key>NSAllowsLocalNetworking</key>\n\t\t<true/>\n\t\t<key>NSAllowsArbitraryLoads</key>'],
    [infoPlist, 'a text for a boolean', '<key>NSAllowsArbitraryLoads</key>\n\t\t<true/>', '<key>NSAllowsArbitraryLoads</key>\n\t\t<string>true</string>'],
    [infoPlist, 'no minimum version of macOS', '\t<key>LSMinimumSystemVersion</key>\n\t<string>@CMAKE_OSX_DEPLOYMENT_TARGET@</string>\n', ''],
    [infoPlist, 'another identifier', '<string>nl.orvel.os</string>', '<string>nl.orvel.OS</string>'],
    [infoPlist, 'another executable', '<key>CFBundleExecutable</key>\n\t<string>Orvel OS</string>', '<key>CFBundleExecutable</key>\n\t<string>orvel-os</string>'],
    [infoPlist, 'no usage description for the local network', '<key>NSLocalNetworkUsageDescription</key>', '<key>NSLocalNetworkUsage</key>'],
    [infoPlist, 'a malformed list', '@plist_presets@</dict>', '@plist_presets@'],
    ['tests/macos/Info.plist', 'the bundle identifier of the application for the tests', 'nl.orvel.os.contract', 'nl.orvel.os'],
  ]),
  ...faultsInCategory('entitlements', [
    [entitlements, 'the App Sandbox', emptyDictionary, entitled('com.apple.security.app-sandbox')],
    [entitlements, 'libraries of other teams', emptyDictionary, entitled('com.apple.security.cs.disable-library-validation')],
    [entitlements, 'an entitlement that allows debugging', emptyDictionary, entitled('com.apple.security.get-task-allow')],
    [entitlements, 'a malformed list', emptyDictionary, '<dict>'],
    [entitlements, 'an array', emptyDictionary, '<array/>'],
  ]),
  ...faultsInCategory('codesign', [
    [buildApp, 'no hardened runtime', '--options runtime ', ''],
    [buildApp, 'no timestamp', '(--timestamp --sign', '(--sign'],
    [buildApp, 'no entitlements', '--entitlements packaging/macos/orvel-os.entitlements', ''],
    [buildApp, 'no verification', 'codesign --verify --strict "$bundle"', 'true'],
    [buildApp, 'a lenient verification', '--verify --strict', '--verify'],
    [buildApp, 'an ad hoc signature in spite of a certificate', '--sign "$ORVELOS_SIGN_IDENTITY"', '--sign -'],
    [buildApp, 'a notarisation that is not awaited', '"${notary_options[@]}" --wait', '"${notary_options[@]}"'],
    [buildApp, 'a ticket that is not validated', 'xcrun stapler validate "$bundle" >/dev/null', 'true'],
  ]),
  ...faultsInCategory('threads', [
    [background, 'the main queue for background work', 'dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0)', 'dispatch_get_main_queue()'],
    [background, 'a wait for background work', 'dispatch_async(', 'dispatch_sync('],
    [mainQueue, 'the run loop of the caller', 'CFRunLoopAddTimer(CFRunLoopGetMain()', 'CFRunLoopAddTimer(CFRunLoopGetCurrent()'],
    [session, 'the completion on the main queue', '                completion(reply);', '                [NSOperationQueue.mainQueue addOperationWithBlock:^{\n                  completion(reply);\n                }];'],
    [session, 'an import of AppKit in code that runs on threads of the session', '#import <Foundation/Foundation.h>', '#import <AppKit/AppKit.h>'],
    [bridge, 'an alert that closes on another thread', '  [self closeAlerts];', '  [self performSelectorInBackground:@selector(closeAlerts) withObject:nil];'],
    [cookies, 'a completion on a dispatch queue', '        completion();\n      }];', '        dispatch_async(dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0), ^{\n          completion();\n        });\n      }];'],
    [application, 'a call of AppKit on another thread', '#import "platform/macos/appkit/cocoa_application.h"', '#import "platform/macos/appkit/cocoa_application.h"\n#include <thread>', '[application_ terminate:nil]; }', 'std::thread([this] { [application_ terminate:nil]; }).detach(); }'],
  ]),
];
