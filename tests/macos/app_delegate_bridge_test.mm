// The calls of WebKit's delegate methods, made as WebKit makes them.

#import "platform/macos/appkit/app_delegate_bridge.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

#import "platform/macos/foundation/cocoa_text.h"
#import "platform/macos/foundation/cocoa_url.h"

/// A stand-in for WKFrameInfo, which only WebKit can create.
@interface FrameStub : NSObject
@property(nonatomic, getter=isMainFrame) BOOL mainFrame;
@end
@implementation FrameStub
@end

/// A stand-in for WKNavigationAction, which only WebKit can create.
@interface NavigationActionStub : NSObject
@property(nonatomic) NSURLRequest *request;
@property(nonatomic) FrameStub *targetFrame;
@end
@implementation NavigationActionStub
@end

namespace orvel {
namespace {

using testing::ElementsAre;

WKNavigationAction *actionFor(const char *url, FrameStub *target) {
  NavigationActionStub *stub = [[NavigationActionStub alloc] init];
  stub.request = [NSURLRequest requestWithURL:toCocoa(Url::parse(url).value())];
  stub.targetFrame = target;
  id untyped = stub;
  return untyped;
}

FrameStub *frame(bool isMain) {
  FrameStub *stub = [[FrameStub alloc] init];
  stub.mainFrame = isMain;
  return stub;
}

/// Records the calls of the bridge, and answers them as the test says.
class RecordingDelegate final : public WebViewDelegate {
 public:
  NavigationPolicy decidePolicy(const NavigationAction &action) override {
    actions.push_back(action);
    if (throws) throw std::runtime_error("no policy");
    return policy;
  }
  NavigationPolicy policyFor(const NavigationAction & /*action*/) const override { return policy; }
  void createWebView(const std::optional<Url> &url) override {
    events.push_back("new window " + url.value().absoluteString);
  }
  void startDownload(const std::optional<Url> &url, bool /*hasUserGesture*/) override {
    events.push_back("download " + url.value().absoluteString);
  }
  void runJavaScriptAlertPanel(const std::string &message,
                               std::function<void()> completion) override {
    events.push_back("alert " + message);
    alertCompletion = std::move(completion);
  }
  void runJavaScriptConfirmPanel(const std::string &message,
                                 std::function<void(bool)> completion) override {
    events.push_back("confirm " + message);
    confirmCompletion = std::move(completion);
  }
  void webViewWebContentProcessDidTerminate() override { events.push_back("process crash"); }

  NavigationPolicy policy = NavigationPolicy::allow;
  bool throws = false;
  std::vector<NavigationAction> actions;
  std::vector<std::string> events;
  std::function<void()> alertCompletion;
  std::function<void(bool)> confirmCompletion;
};

class AppDelegateBridgeCalls : public testing::Test {
 protected:
  AppDelegateBridgeCalls() { bridge_.page = &delegate_; }

  void decide(WKNavigationAction *action) {
    [bridge_ webView:view_
        decidePolicyForNavigationAction:action
                        decisionHandler:^(WKNavigationActionPolicy policy) {
                          policies_.push_back(policy);
                        }];
  }
  void confirm() {
    [bridge_ webView:view_
        runJavaScriptConfirmPanelWithMessage:@"Sure?"
                            initiatedByFrame:initiator_
                           completionHandler:^(BOOL agreed) {
                             answers_.push_back(agreed);
                           }];
  }
  void alert() {
    [bridge_ webView:view_
        runJavaScriptAlertPanelWithMessage:@"Done"
                          initiatedByFrame:initiator_
                         completionHandler:^{
                           ++alertsClosed_;
                         }];
  }

  AppDelegateBridge *const bridge_ = [[AppDelegateBridge alloc] init];
  WKWebView *const view_ = [[WKWebView alloc] initWithFrame:NSZeroRect];
  WKFrameInfo *const initiator_ = static_cast<WKFrameInfo *>(static_cast<id>(frame(true)));
  RecordingDelegate delegate_;
  std::vector<WKNavigationActionPolicy> policies_;
  std::vector<bool> answers_;
  int alertsClosed_ = 0;
};

TEST_F(AppDelegateBridgeCalls, NavigationActionHasUrlAndTarget) {
  decide(actionFor("http://127.0.0.1/main", frame(true)));
  decide(actionFor("http://127.0.0.1/sub", frame(false)));
  decide(actionFor("http://127.0.0.1/new", nil));
  std::vector<std::pair<std::string, NavigationTarget>> found;
  for (const NavigationAction &action : delegate_.actions) {
    found.emplace_back(action.url.value().path, action.target);
  }
  EXPECT_THAT(found, ElementsAre(std::pair("/main", NavigationTarget::mainFrame),
                                 std::pair("/sub", NavigationTarget::subFrame),
                                 std::pair("/new", NavigationTarget::newWindow)));
}

TEST_F(AppDelegateBridgeCalls, NavigationHandlerGetsPolicyOnce) {
  decide(actionFor("http://127.0.0.1/", frame(true)));
  EXPECT_THAT(policies_, ElementsAre(WKNavigationActionPolicyAllow));
  delegate_.policy = NavigationPolicy::cancel;
  decide(actionFor("http://127.0.0.1/", frame(true)));
  EXPECT_THAT(policies_,
              ElementsAre(WKNavigationActionPolicyAllow, WKNavigationActionPolicyCancel));
}

TEST_F(AppDelegateBridgeCalls, NavigationIsCancelledWhenPolicyThrows) {
  delegate_.throws = true;
  EXPECT_THROW(decide(actionFor("http://127.0.0.1/", frame(true))), std::runtime_error);
  EXPECT_THAT(policies_, ElementsAre(WKNavigationActionPolicyCancel));
}

TEST_F(AppDelegateBridgeCalls, NewWindowIsForwardedAndNotOpened) {
  WKWebView *opened = [bridge_ webView:view_
        createWebViewWithConfiguration:[[WKWebViewConfiguration alloc] init]
                   forNavigationAction:actionFor("http://127.0.0.1/new", nil)
                        windowFeatures:[[WKWindowFeatures alloc] init]];
  EXPECT_TRUE(opened == nil);
  EXPECT_THAT(delegate_.events, ElementsAre("new window http://127.0.0.1/new"));
}

TEST_F(AppDelegateBridgeCalls, AlertHandlerIsCalledOnce) {
  alert();
  EXPECT_THAT(delegate_.events, ElementsAre("alert Done"));
  EXPECT_EQ(alertsClosed_, 0);
  delegate_.alertCompletion();
  delegate_.alertCompletion();
  EXPECT_EQ(alertsClosed_, 1);
}

TEST_F(AppDelegateBridgeCalls, ConfirmHandlerGetsAnswerOnce) {
  for (const bool answer : {true, false}) {
    confirm();
    delegate_.confirmCompletion(answer);
    delegate_.confirmCompletion(!answer);
  }
  EXPECT_THAT(delegate_.events, ElementsAre("confirm Sure?", "confirm Sure?"));
  EXPECT_THAT(answers_, ElementsAre(true, false));
}

TEST_F(AppDelegateBridgeCalls, DroppedPanelCompletionStillCallsHandler) {
  confirm();
  alert();
  delegate_.confirmCompletion = nullptr;
  delegate_.alertCompletion = nullptr;
  EXPECT_THAT(answers_, ElementsAre(false));
  EXPECT_EQ(alertsClosed_, 1);
}

TEST_F(AppDelegateBridgeCalls, CrashOfContentProcessIsForwarded) {
  [bridge_ webViewWebContentProcessDidTerminate:view_];
  EXPECT_THAT(delegate_.events, ElementsAre("process crash"));
}

}  // namespace
}  // namespace orvel
