// What the sources of platform/macos and tests/macos must and must not contain. Each rule is a
// clang AST matcher, so the spelling and layout of the source do not matter.

// The methods of each Objective-C class, by the protocol, superclass or category that
// declares them. The compiler accepts a misspelt or forgotten optional method, and the framework
// then never calls it.
const methods = {
  'platform/macos/appkit/app_delegate_bridge.mm': {
    NSApplicationDelegate: [
      'applicationDidFinishLaunching:',
      'applicationShouldTerminate:',
      'applicationShouldTerminateAfterLastWindowClosed:',
      'applicationSupportsSecureRestorableState:',
    ],
    WKNavigationDelegate: [
      'webView:decidePolicyForNavigationAction:decisionHandler:',
      'webViewWebContentProcessDidTerminate:',
    ],
    WKUIDelegate: [
      'webView:createWebViewWithConfiguration:forNavigationAction:windowFeatures:',
      'webView:runJavaScriptAlertPanelWithMessage:initiatedByFrame:completionHandler:',
      'webView:runJavaScriptConfirmPanelWithMessage:initiatedByFrame:completionHandler:',
    ],
    own: ['proceedWithTermination', 'closeAlerts', 'zoekUpdateMenu', 'kiesAdres', 'reloadPage'],
  },
  'platform/macos/http/redirect_guard.mm': {
    NSURLSessionTaskDelegate: [
      'URLSession:task:willPerformHTTPRedirection:newRequest:completionHandler:',
    ],
    own: ['initWithRequest:forwardsHeaders:'],
  },
  'platform/macos/appkit/cocoa_menu_bar.mm': {
    NSMenuItem: ['setTitle:'],
    own: ['fixTitle'],
  },
  'tests/macos/page_window_test.mm': {
    NSResponder: ['mouseDown:', 'mouseDragged:', 'mouseUp:', 'acceptsFirstResponder'],
    NSView: ['acceptsFirstMouse:'],
    NSWindow: ['performWindowDragWithEvent:', 'performZoom:', 'performMiniaturize:'],
  },
  'platform/macos/appkit/page_window.mm': {
    NSWindow: ['becomeKeyWindow'],
    NSEvent: ['sendEvent:'],
    own: ['handleMouseEvent:use:', 'isTitleBarAt:', 'releaseOutsideContent', 'doubleClickTitleBar'],
  },
};

// The class, category or protocol that declares each action of the main menu. An action is
// named like its MenuAction. No SDK header declares undo: and redo:, so the source does.
const menuActions = {
  'NSStandardAboutPanel': ['orderFrontStandardAboutPanel:'],
  'NSApplication': ['hide:', 'terminate:'],
  'NSWindow': ['toggleFullScreen:', 'performMiniaturize:'],
  'NSText': ['cut:', 'copy:', 'paste:', 'selectAll:'],
  'UndoingResponder': ['undo:', 'redo:'],
  'AppDelegateBridge': ['zoekUpdateMenu', 'kiesAdres', 'reloadPage'],
};

// The selectors of each file that another declaration must have, by that declaration.
export const declarations = {
  ...methods,
  'platform/macos/appkit/cocoa_menu_bar.mm':
    { ...methods['platform/macos/appkit/cocoa_menu_bar.mm'], ...menuActions },
};

const ours = 'isExpansionInFileMatching("/(platform|tests)/macos/")';
const call = (name) => `callExpr(${ours}, callee(functionDecl(matchesName("${name}"))))`;
// Core Foundation's naming rule: the caller owns the result of these functions.
const creation = 'ignoringParenImpCasts(callExpr(callee(functionDecl(' +
  'matchesName("^::(CF|CG|LS|Sec)[A-Za-z]*(Create|Copy)")))))';
const owner = 'hasType(hasUnqualifiedDesugaredType(recordType(hasDeclaration(classTemplateSpecialization' +
  'Decl(hasName("::std::unique_ptr"), hasTemplateArgument(1, refersToType(hasUnqualifiedDesugaredType(' +
  'recordType(hasDeclaration(namedDecl(hasName("::orvel::ReleasedBy"))))))))))))';
const handler = 'parmVarDecl(hasType(qualType(hasCanonicalType(blockPointerType()))), ' +
  'hasDeclContext(objcMethodDecl(isDefinition())))';
const oneShotCall = 'callExpr(callee(functionDecl(hasName("::orvel::oneShot"))))';

// A rule has a matcher and, by file, the values that it must find there; in every other file it
// must find nothing. `value` takes the value out of the dump of a match, or returns undefined
// for a match that does not count.
export const rules = [
  {
    name: 'a method of an Objective-C class',
    matcher: `objcMethodDecl(${ours}, isDefinition())`,
    value: (dump) => /^ObjCMethodDecl .* [-+] (\S+) '/.exec(dump)[1],
    expected: Object.fromEntries(
      Object.entries(methods).map(([file, protocols]) => [file, Object.values(protocols).flat()])),
  },
  {
    name: 'a method of the bridge and the member function of the core that it calls',
    onlyIn: /app_delegate_bridge\.mm$/,
    matcher: `objcMethodDecl(${ours}, isDefinition())`,
    value(dump) {
      const called = /MemberExpr .* '<bound member function type>' ->(\w+) /.exec(dump)?.[1];
      return called && `${/ [-+] (\S+) '/.exec(dump)[1]} ${called}`;
    },
    expected: {
      'platform/macos/appkit/app_delegate_bridge.mm': [
        'applicationDidFinishLaunching: applicationDidFinishLaunching',
        'applicationShouldTerminate: applicationShouldTerminate',
        'applicationShouldTerminateAfterLastWindowClosed: applicationShouldTerminateAfterLastWindowClosed',
        'webView:decidePolicyForNavigationAction:decisionHandler: decidePolicy',
        'webViewWebContentProcessDidTerminate: webViewWebContentProcessDidTerminate',
        'webView:createWebViewWithConfiguration:forNavigationAction:windowFeatures: createWebView',
        'webView:runJavaScriptAlertPanelWithMessage:initiatedByFrame:completionHandler: runJavaScriptAlertPanel',
        'webView:runJavaScriptConfirmPanelWithMessage:initiatedByFrame:completionHandler: runJavaScriptConfirmPanel',
        'zoekUpdateMenu zoekUpdateMenu',
        'kiesAdres kiesAdres',
        'reloadPage reloadPage',
      ],
    },
  },
  {
    name: 'an object that becomes a delegate',
    matcher: `objcMessageExpr(${ours}, hasAnySelector("setDelegate:", "setNavigationDelegate:", ` +
      '"setUIDelegate:", "setPage:", "setApplication:"))',
    value: (dump) => /selector=(\S+)/.exec(dump)[1] + (/(CXXNullPtrLiteral|GNUNull)Expr/.test(dump) ? ' nil' : ''),
    expected: {
      'platform/macos/appkit/cocoa_application.mm': ['setApplication:', 'setDelegate:'],
      'platform/macos/http/shared_url_session.mm': ['setDelegate:'],
      'platform/macos/webkit/wk_page_view.mm': ['setNavigationDelegate:', 'setPage:', 'setUIDelegate:'],
    },
  },
  {
    name: 'a menu action (enumerator and selector)',
    matcher: `caseStmt(${ours}, hasAncestor(functionDecl(hasName("selectorOf"))))`,
    value(dump) {
      const selector = /ObjCSelectorExpr .* (\S+)$/m.exec(dump)?.[1];
      return selector && `${/EnumConstant \S+ '(\w+)'/.exec(dump)[1]} ${selector}`;
    },
    expected: {
      'platform/macos/appkit/cocoa_menu_bar.mm':
        Object.values(menuActions).flat().map((selector) => `${selector.replace(':', '')} ${selector}`),
    },
  },
  {
    name: 'a key of key-value coding',
    matcher: `expr(${ours}, anyOf(${call('^::orvel::setPrivateSetting$')}, ` +
      'objcMessageExpr(hasAnySelector("setValue:forKey:", "setValue:forKeyPath:", ' +
      '"valueForKey:", "valueForKeyPath:"))))',
    value(dump) {
      const access = /^ObjCMessageExpr .* selector=(\S+)/.exec(dump)?.[1] ?? 'setPrivateSetting';
      return `${access} ${/ "(.*)"$/m.exec(dump)?.[1] ?? 'not a literal'}`;
    },
    expected: {
      'platform/macos/webkit/private_setting.mm': ['setValue:forKey: not a literal'],
      'platform/macos/webkit/wk_page_view.mm':
        ['setPrivateSetting developerExtrasEnabled', 'setPrivateSetting drawsBackground'],
      'tests/macos/launch_test.mm': ['valueForKey: developerExtrasEnabled', 'valueForKey: drawsBackground'],
      'tests/macos/macos_contract_platform.mm': ['valueForKey: _webProcessIdentifier'],
      'tests/macos/private_setting_test.mm': [
        ...Array(3).fill('setPrivateSetting drawsBackground'),
        'setValue:forKey: drawsBackground',
      ],
    },
  },
  {
    name: 'a question whether an object has a method (respondsToSelector:)',
    matcher: `objcMessageExpr(${ours}, hasSelector("respondsToSelector:"))`,
    value: () => 'respondsToSelector:',
    expected: {
      'platform/macos/webkit/private_setting.mm': ['respondsToSelector:'],
    },
  },
  {
    name: 'an object for a BOOL, which C++ converts',
    matcher: `implicitCastExpr(${ours}, hasCastKind("CK_PointerToBoolean"), hasSourceExpression(expr(` +
      'hasType(qualType(hasCanonicalType(objcObjectPointerType()))))), unless(hasParent(stmt(anyOf(ifStmt(), ' +
      'unaryOperator(), conditionalOperator(), binaryOperator(hasAnyOperatorName("&&", "||")))))))',
  },
  {
    name: 'NSApp, whose messages are not checked for availability (use NSApplication.sharedApplication)',
    matcher: `declRefExpr(${ours}, to(varDecl(hasName("::NSApp"))))`,
  },
  {
    name: 'a bare Core Foundation retain or release (use CFPointer)',
    matcher: call('^::(CFRelease|CFRetain|CFAutorelease|CFBridgingRetain|CFMakeCollectable)$'),
  },
  {
    name: 'a created Core Foundation object without an owner (use CFPointer, createdBy or CFBridgingRelease)',
    matcher: `callExpr(${ours}, callee(functionDecl(matchesName("^::(CF|CG|LS|Sec)[A-Za-z]*(Create|Copy)"))), ` +
      'unless(hasParent(cxxConstructExpr())), unless(hasParent(cxxMemberCallExpr(callee(cxxMethodDecl(hasName("reset")))))), ' +
      'unless(hasParent(implicitCastExpr(hasParent(callExpr(callee(functionDecl(hasName("CFBridgingRelease")))))))))',
  },
  {
    name: 'a Core Foundation object that is released but was not created here',
    matcher: `expr(${ours}, anyOf(` +
      `callExpr(callee(functionDecl(hasName("::CFBridgingRelease"))), unless(hasArgument(0, ${creation}))), ` +
      `cxxConstructExpr(${owner}, hasArgument(0, expr(hasType(pointerType()), unless(${creation}))))))`,
  },
  {
    name: 'a Core Foundation object that its owner gives up',
    matcher: `cxxMemberCallExpr(${ours}, callee(cxxMethodDecl(hasName("release"), ` +
      'ofClass(hasName("::std::unique_ptr")))))',
  },
  {
    name: 'whether closing a window releases it (under ARC it must not)',
    matcher: `objcMessageExpr(${ours}, hasSelector("setReleasedWhenClosed:"))`,
    value: (dump) => /__objc_(yes|no)/.exec(dump)?.[1] ?? 'not a literal',
    expected: {
      'platform/macos/appkit/cocoa_window.mm': ['no'],
      'tests/macos/page_window_test.mm': ['no'],
    },
  },
  {
    name: 'a cast that transfers ownership',
    matcher: `explicitCastExpr(${ours}, hasDescendant(castExpr(anyOf(hasCastKind("CK_ARCConsumeObject"), ` +
      'hasCastKind("CK_ARCProduceObject")))))',
  },
  {
    name: 'a variable with a bridged pointer, which does not keep its object alive',
    matcher: `varDecl(${ours}, unless(hasType(qualType(hasCanonicalType(objcObjectPointerType())))), ` +
      'hasInitializer(ignoringParenImpCasts(explicitCastExpr(hasSourceExpression(ignoringImpCasts(expr(' +
      'hasType(qualType(hasCanonicalType(objcObjectPointerType()))))))))))',
  },
  {
    name: 'a reference that does not own its object',
    // A weak or assigned property has such an instance variable.
    matcher: `valueDecl(${ours})`,
    value: (dump) => /__(?:weak|unsafe_unretained|autoreleasing)\b/.exec(dump.split('\n')[0])?.[0],
  },
  {
    name: 'a handler that is called without oneShot',
    matcher: `declRefExpr(${ours}, to(${handler}), unless(hasAncestor(${oneShotCall})))`,
  },
  {
    name: 'a handler that is never called',
    matcher: `objcMethodDecl(${ours}, isDefinition(), hasAnyParameter(parmVarDecl(` +
      'hasType(qualType(hasCanonicalType(blockPointerType())))).bind("handler")), ' +
      'unless(hasDescendant(declRefExpr(to(equalsBoundNode("handler")), hasAncestor(' + oneShotCall + ')))))',
  },
  {
    name: 'a change of the thread or run loop',
    matcher: `expr(${ours}, anyOf(` +
      'callExpr(callee(functionDecl(matchesName("^::(dispatch_[a-z_]+|pthread_create|CFRunLoopGet[A-Za-z]+)$")))), ' +
      'objcMessageExpr(matchesSelector("(InBackground|OnMainThread|onThread:|detachNewThread|performBlock|addOperation|mainQueue|currentRunLoop|mainRunLoop)")), ' +
      'cxxConstructExpr(hasDeclaration(cxxMethodDecl(ofClass(hasAnyName("::std::thread", "::std::jthread")))))))',
    value: (dump) => /Function \S+ '(\w+)'|selector=(\S+)/.exec(dump)?.slice(1).find(Boolean) ?? 'std::thread',
    expected: {
      'platform/macos/foundation/dispatch_background_queue.mm': ['dispatch_async', 'dispatch_get_global_queue'],
      'platform/macos/http/shared_url_session.mm': ['dispatch_async', 'dispatch_queue_create'],
      'platform/macos/foundation/run_loop_main_queue.mm':
        ['CFRunLoopGetMain', 'CFRunLoopGetMain', 'CFRunLoopGetMain'],
      'tests/macos/macos_contract_platform.mm': ['mainRunLoop'],
    },
  },
  {
    name: 'a declaration of AppKit or WebKit in a folder whose code runs on any thread',
    onlyIn: /^platform\/macos\/(foundation|http)\//,
    matcher: 'objcInterfaceDecl(hasAnyName("NSResponder", "WKWebView"))',
  },
];
