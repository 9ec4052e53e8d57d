#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

/// A delegate that counts the launches and termination requests of the application, and answers
/// each request with `reply`.
class RecordingDelegate final : public ApplicationDelegate {
 public:
  void applicationDidFinishLaunching() override {
    ++launches;
    if (onLaunch) onLaunch();
  }
  TerminateReply applicationShouldTerminate() override {
    ++terminationRequests;
    return reply;
  }
  bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
  // Actions of menu items, which these tests do not choose.
  void zoekUpdateMenu() override {}
  void kiesAdres() override {}
  void reloadPage() override {}

  std::function<void()> onLaunch;
  TerminateReply reply = TerminateReply::now;
  int launches = 0;
  int terminationRequests = 0;
};

class ApplicationContract : public ContractTest {
 protected:
  /// Runs the application with `delegate` until it ends, then the checks. Must be the last
  /// statement of a test, for the reason given at ContractPlatform::runApplication.
  void runApplicationThenCheck(const std::function<void()> &checks) {
    application().setDelegate(delegate);
    application().setRegularActivationPolicy();
    platform->runApplication(checks);
  }
  Application &application() { return platform->interfaces().application; }
  void requestTerminationAfter(milliseconds delay) {
    queue().after(delay, [this] { platform->requestTermination(); });
  }
  void showAlertAfter(milliseconds delay) {
    queue().after(delay, [this] {
      Alert question;
      question.messageText = "Continue?";
      question.buttons = {"OK", "Cancel"};
      ++alertsShown;
      platform->interfaces().panels.runModal(question,
                                             [this](const AlertAnswer &) { ++alertCompletions; });
    });
  }

  RecordingDelegate delegate;
  int alertsShown = 0;
  int alertCompletions = 0;
};

TEST_P(ApplicationContract, LaunchesOnceAndQuitsOnTerminationRequest) {
  bool launchedOnMainThread = false;
  bool postedWorkRan = false;
  delegate.onLaunch = [&] {
    launchedOnMainThread = platform->onMainThread();
    application().activate();
    queue().post([&] { postedWorkRan = true; });
    requestTerminationAfter(milliseconds(20));
  };
  runApplicationThenCheck([&] {
    EXPECT_EQ(delegate.launches, 1);
    EXPECT_EQ(delegate.terminationRequests, 1);
    EXPECT_TRUE(launchedOnMainThread);
    EXPECT_TRUE(postedWorkRan);
  });
}

TEST_P(ApplicationContract, DeferredTerminationIgnoresRequestsAndRunsMainLoopUntilReply) {
  delegate.reply = TerminateReply::later;
  constexpr int ticksBeforeReply = 5;
  bool replied = false;
  int ticks = 0;
  delegate.onLaunch = [&] {
    // The second and the third request arrive while the first one waits for its reply.
    for (const int delay : {0, 10, 20}) requestTerminationAfter(milliseconds(delay));
    queue().every(milliseconds(10), [&] {
      if (delegate.terminationRequests == 0 || ++ticks != ticksBeforeReply) return;
      replied = true;
      application().replyToShouldTerminate();
    });
  };
  runApplicationThenCheck([&] {
    EXPECT_TRUE(replied);
    EXPECT_EQ(ticks, ticksBeforeReply);
    EXPECT_EQ(delegate.terminationRequests, 1);
  });
}

TEST_P(ApplicationContract, OpenAlertsDoNotBlockDeferredTermination) {
  delegate.reply = TerminateReply::later;
  delegate.onLaunch = [&] {
    requestTerminationAfter(milliseconds(0));
    showAlertAfter(milliseconds(30));
    showAlertAfter(milliseconds(60));
    queue().after(milliseconds(200), [&] { application().replyToShouldTerminate(); });
  };
  runApplicationThenCheck([&] {
    EXPECT_EQ(alertsShown, 2);
    EXPECT_EQ(delegate.terminationRequests, 1);
  });
}

TEST_P(ApplicationContract, AlertAnsweredAfterTerminationReplyIsIgnored) {
  delegate.reply = TerminateReply::later;
  delegate.onLaunch = [&] {
    requestTerminationAfter(milliseconds(0));
    showAlertAfter(milliseconds(30));
    queue().after(milliseconds(60), [&] {
      application().replyToShouldTerminate();
      platform->pressInAlert(AlertKey::enter);
    });
  };
  runApplicationThenCheck([&] {
    EXPECT_EQ(alertsShown, 1);
    EXPECT_EQ(alertCompletions, 0);
  });
}

INSTANTIATE_ON_EVERY_PLATFORM(ApplicationContract);

}  // namespace
}  // namespace orvel
