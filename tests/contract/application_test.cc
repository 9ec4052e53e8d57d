// What every platform promises of the application object.

#include <gtest/gtest.h>

#include <memory>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

/// A delegate that notes what it is told.
class NotingDelegate final : public ApplicationDelegate {
 public:
  void applicationDidFinishLaunching() override {
    ++launches;
    if (atLaunch) atLaunch();
  }
  TerminateReply applicationShouldTerminate() override {
    ++requests;
    return reply;
  }
  bool applicationShouldTerminateAfterLastWindowClosed() override { return true; }
  void zoekUpdateMenu() override {}
  void kiesAdres() override {}
  void reloadPage() override {}

  std::function<void()> atLaunch;
  TerminateReply reply = TerminateReply::now;
  int launches = 0;
  int requests = 0;
};

class ApplicationContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  void runAndCheck(const std::function<void()> &checks) {
    application().setDelegate(delegate);
    application().setRegularActivationPolicy();
    platform->runApplication(checks);
  }
  Application &application() { return platform->ports().application; }
  MainQueue &queue() { return platform->ports().mainQueue; }

  std::unique_ptr<ContractPlatform> platform = GetParam().make();
  NotingDelegate delegate;
};

TEST_P(ApplicationContract, LaunchesOnceAndEndsWhenAskedTo) {
  bool launchedOnMain = false;
  bool queueRan = false;
  delegate.atLaunch = [&] {
    launchedOnMain = platform->onMainThread();
    application().activate();
    queue().post([&] { queueRan = true; });
    queue().after(milliseconds(20), [&] { platform->requestTermination(); });
  };
  runAndCheck([&] {
    EXPECT_EQ(delegate.launches, 1);
    EXPECT_EQ(delegate.requests, 1);
    EXPECT_TRUE(launchedOnMain);
    EXPECT_TRUE(queueRan);
  });
}

TEST_P(ApplicationContract, ADeferredTerminationWaitsForItsReply) {
  delegate.reply = TerminateReply::later;
  bool replied = false;
  int ticks = 0;
  delegate.atLaunch = [&] {
    queue().post([&] { platform->requestTermination(); });
    // The loop goes on meanwhile.
    queue().every(milliseconds(10), [&] {
      if (delegate.requests == 0 || ++ticks != 5) return;
      replied = true;
      application().replyToShouldTerminate();
    });
  };
  runAndCheck([&] {
    EXPECT_TRUE(replied);
    EXPECT_EQ(ticks, 5);
    EXPECT_EQ(delegate.requests, 1);
  });
}

TEST_P(ApplicationContract, FurtherRequestsAreIgnoredWhileOneWaits) {
  delegate.reply = TerminateReply::later;
  delegate.atLaunch = [&] {
    for (const int moment : {5, 40, 80}) {
      queue().after(milliseconds(moment), [&] { platform->requestTermination(); });
    }
    queue().after(milliseconds(150), [&] { application().replyToShouldTerminate(); });
  };
  runAndCheck([&] { EXPECT_EQ(delegate.requests, 1); });
}

TEST_P(ApplicationContract, AlertsOpenedMeanwhileDoNotHoldIt) {
  delegate.reply = TerminateReply::later;
  Alert question;
  question.messageText = "Doorgaan?";
  question.buttons = {"OK", "Annuleren"};
  int shown = 0;
  const auto show = [&] {
    ++shown;
    platform->ports().panels.runModal(question, [](const AlertAnswer &) {});
  };
  delegate.atLaunch = [&] {
    queue().post([&] { platform->requestTermination(); });
    queue().after(milliseconds(30), show);
    queue().after(milliseconds(60), show);
    queue().after(milliseconds(200), [&] { application().replyToShouldTerminate(); });
  };
  runAndCheck([&] {
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(delegate.requests, 1);
  });
}

TEST_P(ApplicationContract, AlertsAnsweredAfterTheReplyHaveNoConsequence) {
  delegate.reply = TerminateReply::later;
  Alert question;
  question.messageText = "Continue?";
  question.buttons = {"OK", "Cancel"};
  int shown = 0;
  int answers = 0;
  delegate.atLaunch = [&] {
    queue().post([&] { platform->requestTermination(); });
    queue().after(milliseconds(30), [&] {
      ++shown;
      platform->ports().panels.runModal(question, [&](const AlertAnswer &) { ++answers; });
    });
    queue().after(milliseconds(60), [&] {
      application().replyToShouldTerminate();
      platform->answerAlert({0, ""});
    });
  };
  runAndCheck([&] {
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(answers, 0);
  });
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, ApplicationContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
