#include <csignal>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class Quitting : public CoreTest {
 protected:
  /// Starts the server of a new delegate. The fake names the first process "process 1".
  void startServer(const FakeProcessScript &script = {}) {
    setNodeScript(script);
    recreateDelegate();
    delegate().startServer();
    fake.record.take();
  }
};

TEST_F(Quitting, QuitWithoutRunningServerIsImmediate) {
  EXPECT_FALSE(delegate().quitting);
  fake.application.requestTermination();
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_TRUE(delegate().quitting);
  EXPECT_EQ(fake.scheduler.now(), 0ms);
}

TEST_F(Quitting, QuitWaitsForServerToExitAndKillsItAfterThirtyWaits) {
  struct Row {
    std::optional<FakeScheduler::Duration> exitsAfterSigterm;
    std::size_t waits;
    int status;
  };
  const std::vector<Row> rows{
      {250ms, 3, SIGTERM}, {2950ms, 30, SIGTERM}, {std::nullopt, 30, SIGKILL}};
  for (const auto &[exitsAfterSigterm, waits, status] : rows) {
    SCOPED_TRACE(testing::Message() << waits << " waits, status " << status);
    fake.application.terminated = false;
    startServer({.exitsAfterSigterm = exitsAfterSigterm});
    fake.application.requestTermination();
    fake.scheduler.advance(waits * 100ms - 1ms);
    EXPECT_FALSE(fake.application.terminated);
    fake.scheduler.runUntil([this] { return fake.application.terminated; }, 1ms);
    EXPECT_TRUE(fake.application.terminated);
    EXPECT_FALSE(delegate().server->isRunning()) << "an orphaned process";
    EXPECT_EQ(delegate().server->terminationStatus(), status);

    // `expected` has no "load html": an exit while quitting shows no error page.
    fake.scheduler.advance(10s);
    std::vector<std::string> expected{"terminate " + lastServer().name};
    expected.insert(expected.end(), waits, "sleep 100 ms");
    if (status == SIGKILL) expected.push_back("kill " + lastServer().name);
    expected.emplace_back("application terminated");
    EXPECT_EQ(fake.record.take(), expected);
  }
}

TEST_F(Quitting, NoServerStartsAndNoAddressIsProbedWhileQuitting) {
  startServer();
  fake.application.requestTermination();
  fake.scheduler.advance(50ms);
  EXPECT_FALSE(lastServer().isRunning());
  delegate().reloadPage();
  delegate().openOS();
  storeOnlineAddress();
  delegate().openOS();
  fake.scheduler.advance(1min);
  EXPECT_EQ(fake.processes.launched.size(), 1U);
  EXPECT_THAT(fake.http.sent, IsEmpty());
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Quitting, QuitAfterServerExitIsImmediate) {
  for (const bool isExitReported : {true, false}) {
    SCOPED_TRACE(isExitReported ? "reported exit" : "unreported exit");
    fake.application.terminated = false;
    startServer();
    lastServer().exit(1);
    if (isExitReported) fake.scheduler.runUntilIdle();
    const std::string shownBefore = web().shownHtml;
    fake.record.take();
    fake.application.requestTermination();
    fake.scheduler.runUntilIdle();
    EXPECT_THAT(fake.record.take(), ElementsAre("application terminated"));
    EXPECT_EQ(web().shownHtml, shownBefore);
  }
}

TEST_F(Quitting, QuitDuringLaunchStopsServerWithoutWaitForProbe) {
  fake.http.setResponses(localProbeUrl, {{.statusCode = 200, .delay = 2900ms}});
  launchApplication();
  fake.application.requestTermination();
  fake.scheduler.advance(100ms);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_FALSE(delegate().server->isRunning());
  fake.scheduler.advance(5s);
  EXPECT_EQ(shownError(), "");
}

TEST_F(Quitting, AtSigtermQuittingFlagIsSetAndNoWaitIsPosted) {
  startServer();
  bool wasQuitting = false;
  bool wasWaitPosted = true;
  lastServer().onTerminate = [&] {
    wasQuitting = delegate().quitting;
    // The wait for the exit is a task on the background queue.
    wasWaitPosted = fake.scheduler.nextDue().has_value();
  };
  fake.application.requestTermination();
  EXPECT_TRUE(wasQuitting);
  EXPECT_FALSE(wasWaitPosted);
}

TEST_F(Quitting, MainThreadRunsWhileQuitWaits) {
  startServer({.exitsAfterSigterm = std::nullopt});
  fake.application.requestTermination();
  std::optional<FakeScheduler::Duration> ranAt;
  fake.mainQueue.after(1s, [&] { ranAt = fake.scheduler.now(); });
  fake.scheduler.advance(1500ms);
  EXPECT_EQ(ranAt, 1s);
  EXPECT_FALSE(fake.application.terminated);
}

TEST_F(Quitting, QuitKillsServerThatDelegateHasReleasedMeanwhile) {
  startServer({.exitsAfterSigterm = std::nullopt});
  fake.application.requestTermination();
  delegate().server = nullptr;
  fake.scheduler.advance(3s);
  EXPECT_EQ(fake.record.count("kill process 1"), 1U);
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Quitting, ClosingWindowStopsServer) {
  startServer({.exitsAfterSigterm = 50ms});
  fake.application.closeLastWindow();
  fake.scheduler.advance(100ms);
  EXPECT_THAT(fake.record.take(), ElementsAre("last window closed", "terminate process 1",
                                              "sleep 100 ms", "application terminated"));
}

TEST_F(Quitting, OpenAlertDoesNotDelayQuit) {
  startServer({.exitsAfterSigterm = 50ms});
  delegate().kiesAdres();
  fake.application.requestTermination();
  fake.scheduler.advance(100ms);
  EXPECT_FALSE(lastServer().isRunning());
  EXPECT_THAT(fake.record.take(), ElementsAre("alert Adres van het OS", "terminate process 1",
                                              "sleep 100 ms", "application terminated"));
}

}  // namespace
}  // namespace orvel
