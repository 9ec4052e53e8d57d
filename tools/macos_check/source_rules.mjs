// What the sources of platform/macos and tests/macos must and must not contain. Each rule is a
// clang AST matcher, so the spelling and layout of the source do not matter.

// The methods that each file implements, by the protocol, superclass or category that declares
// them; "own" stands for the class itself. The compiler accepts a misspelt or forgotten optional
// method, and the framework then never calls it.
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
    // The category NSEvent of NSWindow, not the class.
    NSEvent: ['sendEvent:'],
    own: ['handleMouseEvent:use:', 'isTitleBarAt:', 'sendReleaseOutsidePage', 'doubleClickTitleBar'],
  },
};

// The selectors of the main menu, by the class, category or protocol that declares them. Each has
// the name of its MenuAction. No SDK header declares undo: and redo:, so the source declares them
// in the protocol UndoingResponder.
const menuActions = {
  'NSStandardAboutPanel': ['orderFrontStandardAboutPanel:'],
  'NSApplication': ['hide:', 'terminate:'],
  'NSWindow': ['toggleFullScreen:', 'performMiniaturize:'],
  'NSText': ['cut:', 'copy:', 'paste:', 'selectAll:'],
  'UndoingResponder': ['undo:', 'redo:'],
  'AppDelegateBridge': ['zoekUpdateMenu', 'kiesAdres', 'reloadPage'],
};

// For each file, the selectors that each class, category or protocol must declare.
// check_sources.mjs does not compare those of "own".
export const declarations = {
  ...methods,
  'platform/macos/appkit/cocoa_menu_bar.mm':
    { ...methods['platform/macos/appkit/cocoa_menu_bar.mm'], ...menuActions },
};

const inMacosFolders = 'isExpansionInFileMatching("/(platform|tests)/macos/")';
// Returns a matcher of the calls of the functions whose qualified name matches a regular expression.
const call = (name) => `callExpr(${inMacosFolders}, callee(functionDecl(matchesName("${name}"))))`;
// Core Foundation's naming rule: the caller owns the result of these functions.
const creation = 'ignoringParenImpCasts(callExpr(callee(functionDecl(' +
  'matchesName("^::(CF|CG|LS|Sec)[A-Za-z]*(Create|Copy)")))))';
// The type CFPointer, a std::unique_ptr whose deleter is an orvel::ReleasedBy.
const owner = 'hasType(hasUnqualifiedDesugaredType(recordType(hasDeclaration(classTemplateSpecialization' +
  'Decl(hasName("::std::unique_ptr"), hasTemplateArgument(1, refersToType(hasUnqualifiedDesugaredType(' +
  'recordType(hasDeclaration(namedDecl(hasName("::orvel::ReleasedBy"))))))))))))';
// A parameter of an Objective-C method that is a block.
const handler = 'parmVarDecl(hasType(qualType(hasCanonicalType(blockPointerType()))), ' +
  'hasDeclContext(objcMethodDecl(isDefinition())))';
// oneShot wraps a completion handler so that it is called exactly once.
const oneShotCall = 'callExpr(callee(functionDecl(hasName("::orvel::oneShot"))))';

// A rule has a matcher and, by file, the values that it must find there; in every other file it
// must find nothing. `value` takes the value out of the dump of a match, or returns undefined
// for a match that does not count; the default is the line number. `onlyIn` limits the rule to
// the files whose path it matches.
export const rules = [
  {
    name: 'a method of an Objective-C class',
    matcher: `objcMethodDecl(${inMacosFolders}, isDefinition())`,
    value: (dump) => /^ObjCMethodDecl .* [-+] (\S+) '/.exec(dump)[1],
    expected: Object.fromEntries(
      Object.entries(methods).map(([file, protocols]) => [file, Object.values(protocols).flat()])),
  },
  {
    // The bridge is the delegate object of AppKit and WebKit, which calls the core.
    name: 'a method of the bridge and the member function of the core that it calls',
    onlyIn: /app_delegate_bridge\.mm$/,
    matcher: `objcMethodDecl(${inMacosFolders}, isDefinition())`,
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
    matcher: `objcMessageExpr(${inMacosFolders}, hasAnySelector("setDelegate:", "setNavigationDelegate:", ` +
      '"setUIDelegate:", "setWebViewDelegate:", "setApplicationDelegate:"))',
    value: (dump) => /selector=(\S+)/.exec(dump)[1] + (/(CXXNullPtrLiteral|GNUNull)Expr/.test(dump) ? ' nil' : ''),
    expected: {
      'platform/macos/appkit/cocoa_application.mm': ['setApplicationDelegate:', 'setDelegate:'],
      'platform/macos/http/shared_url_session.mm': ['setDelegate:'],
      'platform/macos/webkit/wk_page_view.mm': ['setNavigationDelegate:', 'setUIDelegate:', 'setWebViewDelegate:'],
    },
  },
  {
    name: 'a menu action (enumerator and selector)',
    matcher: `caseStmt(${inMacosFolders}, hasAncestor(functionDecl(hasName("selectorOf"))))`,
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
    // setPrivateSetting calls setValue:forKey: if the object has a setter for the key.
    name: 'a key of key-value coding',
    matcher: `expr(${inMacosFolders}, anyOf(${call('^::orvel::setPrivateSetting$')}, ` +
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
    name: 'a check whether an object has a method (respondsToSelector:)',
    matcher: `objcMessageExpr(${inMacosFolders}, hasSelector("respondsToSelector:"))`,
    value: () => 'respondsToSelector:',
    expected: {
      'platform/macos/webkit/private_setting.mm': ['respondsToSelector:'],
    },
  },
  {
    name: 'an Objective-C object that C++ converts to a BOOL',
    matcher: `implicitCastExpr(${inMacosFolders}, hasCastKind("CK_PointerToBoolean"), hasSourceExpression(expr(` +
      'hasType(qualType(hasCanonicalType(objcObjectPointerType()))))), unless(hasParent(stmt(anyOf(ifStmt(), ' +
      'unaryOperator(), conditionalOperator(), binaryOperator(hasAnyOperatorName("&&", "||")))))))',
  },
  {
    name: 'NSApp, whose messages are not checked for availability (use NSApplication.sharedApplication)',
    matcher: `declRefExpr(${inMacosFolders}, to(varDecl(hasName("::NSApp"))))`,
  },
  {
    name: 'a bare Core Foundation retain or release (use CFPointer)',
    matcher: call('^::(CFRelease|CFRetain|CFAutorelease|CFBridgingRetain|CFMakeCollectable)$'),
  },
  {
    name: 'a created Core Foundation object without an owner (use CFPointer, createdBy or CFBridgingRelease)',
    matcher: `callExpr(${inMacosFolders}, callee(functionDecl(matchesName("^::(CF|CG|LS|Sec)[A-Za-z]*(Create|Copy)"))), ` +
      'unless(hasParent(cxxConstructExpr())), unless(hasParent(cxxMemberCallExpr(callee(cxxMethodDecl(hasName("reset")))))), ' +
      'unless(hasParent(implicitCastExpr(hasParent(callExpr(callee(functionDecl(hasName("CFBridgingRelease")))))))))',
  },
  {
    name: 'a Core Foundation object that is released but was not created here',
    matcher: `expr(${inMacosFolders}, anyOf(` +
      `callExpr(callee(functionDecl(hasName("::CFBridgingRelease"))), unless(hasArgument(0, ${creation}))), ` +
      `cxxConstructExpr(${owner}, hasArgument(0, expr(hasType(pointerType()), unless(${creation}))))))`,
  },
  {
    name: 'a Core Foundation object that its owner gives up',
    matcher: `cxxMemberCallExpr(${inMacosFolders}, callee(cxxMethodDecl(hasName("release"), ` +
      'ofClass(hasName("::std::unique_ptr")))))',
  },
  {
    name: 'whether closing a window releases it (under ARC it must not)',
    matcher: `objcMessageExpr(${inMacosFolders}, hasSelector("setReleasedWhenClosed:"))`,
    value: (dump) => /__objc_(yes|no)/.exec(dump)?.[1] ?? 'not a literal',
    expected: {
      'platform/macos/appkit/cocoa_window.mm': ['no'],
      'tests/macos/page_window_test.mm': ['no'],
    },
  },
  {
    name: 'a cast that transfers ownership',
    matcher: `explicitCastExpr(${inMacosFolders}, hasDescendant(castExpr(anyOf(hasCastKind("CK_ARCConsumeObject"), ` +
      'hasCastKind("CK_ARCProduceObject")))))',
  },
  {
    name: 'a variable with a bridged pointer, which does not keep its object alive',
    matcher: `varDecl(${inMacosFolders}, unless(hasType(qualType(hasCanonicalType(objcObjectPointerType())))), ` +
      'hasInitializer(ignoringParenImpCasts(explicitCastExpr(hasSourceExpression(ignoringImpCasts(expr(' +
      'hasType(qualType(hasCanonicalType(objcObjectPointerType()))))))))))',
  },
  {
    name: 'a reference that does not own its object',
    // Finds weak and assigned properties too, because their instance variables have a qualifier.
    matcher: `valueDecl(${inMacosFolders})`,
    value: (dump) => /__(?:weak|unsafe_unretained|autoreleasing)\b/.exec(dump.split('\n')[0])?.[0],
  },
  {
    name: 'a handler that is called without oneShot',
    matcher: `declRefExpr(${inMacosFolders}, to(${handler}), unless(hasAncestor(${oneShotCall})))`,
  },
  {
    name: 'a handler that is never called',
    matcher: `objcMethodDecl(${inMacosFolders}, isDefinition(), hasAnyParameter(parmVarDecl(` +
      'hasType(qualType(hasCanonicalType(blockPointerType())))).bind("handler")), ' +
      'unless(hasDescendant(declRefExpr(to(equalsBoundNode("handler")), hasAncestor(' + oneShotCall + ')))))',
  },
  {
    name: 'a change of the thread or run loop',
    matcher: `expr(${inMacosFolders}, anyOf(` +
      'callExpr(callee(functionDecl(matchesName("^::(dispatch_[a-z_]+|pthread_create|CFRunLoopGet[A-Za-z]+)$")))), ' +
      'objcMessageExpr(matchesSelector("(InBackground|OnMainThread|onThread:|detachNewThread|performBlock|addOperation|mainQueue|currentRunLoop|mainRunLoop)")), ' +
      'cxxConstructExpr(hasDeclaration(cxxMethodDecl(ofClass(hasAnyName("::std::thread", "::std::jthread")))))))',
    value(dump) {
      if (dump.startsWith('CXX')) return 'std::thread';
      return /Function \S+ '(\w+)'|selector=(\S+)/.exec(dump).slice(1).find(Boolean);
    },
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
