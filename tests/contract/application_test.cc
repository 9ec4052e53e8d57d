// The contract of the application object.

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

/// A delegate that records its calls.
class RecordingDelegate final : public ApplicationDelegate {
 public:
  void applicationDidFinishLaunching() override {
    ++launches;
    if (atLaunch) atLaunch();
  }
  TerminateReply applicationShouldTerminate() override {
    ++terminationRequests;
    return reply;
  }
  bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
  void zoekUpdateMenu() override {}
  void kiesAdres() override {}
  void reloadPage() override {}

  std::function<void()> atLaunch;
  TerminateReply reply = TerminateReply::now;
  int launches = 0;
  int terminationRequests = 0;
};

class ApplicationContract : public ContractTest {
 protected:
  void runAndCheck(const std::function<void()> &checks) {
    application().setDelegate(delegate);
    application().setRegularActivationPolicy();
    platform->runApplication(checks);
  }
  Application &application() { return platform->interfaces().application; }
  void requestTerminationAfter(int delay) {
    queue().after(milliseconds(delay), [this] { platform->requestTermination(); });
  }
  void showAlertAfter(int delay) {
    queue().after(milliseconds(delay), [this] {
      Alert question;
      question.messageText = "Continue?";
      question.buttons = {"OK", "Cancel"};
      ++alertsShown;
      platform->interfaces().panels.runModal(question, [this](const AlertAnswer &) { ++answers; });
    });
  }

  RecordingDelegate delegate;
  int alertsShown = 0;
  int answers = 0;
};

TEST_P(ApplicationContract, LaunchesOnceAndQuitsOnTerminationRequest) {
  bool launchedOnMain = false;
  bool queueRan = false;
  delegate.atLaunch = [&] {
    launchedOnMain = platform->onMainThread();
    application().activate();
    queue().post([&] { queueRan = true; });
    requestTerminationAfter(20);
  };
  runAndCheck([&] {
    EXPECT_EQ(delegate.launches, 1);
    EXPECT_EQ(delegate.terminationRequests, 1);
    EXPECT_TRUE(launchedOnMain);
    EXPECT_TRUE(queueRan);
  });
}

TEST_P(ApplicationContract, DeferredTerminationRunsMainLoopUntilReply) {
  delegate.reply = TerminateReply::later;
  bool replied = false;
  int ticks = 0;
  delegate.atLaunch = [&] {
    requestTerminationAfter(0);
    queue().every(milliseconds(10), [&] {
      if (delegate.terminationRequests == 0 || ++ticks != 5) return;
      replied = true;
      application().replyToShouldTerminate();
    });
  };
  runAndCheck([&] {
    EXPECT_TRUE(replied);
    EXPECT_EQ(ticks, 5);
    EXPECT_EQ(delegate.terminationRequests, 1);
  });
}

TEST_P(ApplicationContract, TerminationRequestsDuringDeferredTerminationAreIgnored) {
  delegate.reply = TerminateReply::later;
  delegate.atLaunch = [&] {
    for (const int delay : {5, 40, 80}) requestTerminationAfter(delay);
    queue().after(milliseconds(150), [&] { application().replyToShouldTerminate(); });
  };
  runAndCheck([&] { EXPECT_EQ(delegate.terminationRequests, 1); });
}

TEST_P(ApplicationContract, OpenAlertsDoNotBlockDeferredTermination) {
  delegate.reply = TerminateReply::later;
  delegate.atLaunch = [&] {
    requestTerminationAfter(0);
    showAlertAfter(30);
    showAlertAfter(60);
    queue().after(milliseconds(200), [&] { application().replyToShouldTerminate(); });
  };
  runAndCheck([&] {
    EXPECT_EQ(alertsShown, 2);
    EXPECT_EQ(delegate.terminationRequests, 1);
  });
}

TEST_P(ApplicationContract, AlertAnsweredAfterTerminationReplyIsIgnored) {
  delegate.reply = TerminateReply::later;
  delegate.atLaunch = [&] {
    requestTerminationAfter(0);
    showAlertAfter(30);
    queue().after(milliseconds(60), [&] {
      application().replyToShouldTerminate();
      platform->answerAlert({0, ""});
    });
  };
  runAndCheck([&] {
    EXPECT_EQ(alertsShown, 1);
    EXPECT_EQ(answers, 0);
  });
}

INSTANTIATE_ON_EVERY_PLATFORM(ApplicationContract);

}  // namespace
}  // namespace orvel
