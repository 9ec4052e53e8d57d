#include <csignal>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class Quitting : public CoreTest {
 protected:
  void startServer(const FakeProcessScript &script = {}) {
    fake.processes.setScripts("/usr/local/bin/node", {script});
    createWebView();
    delegate().startServer();
    fake.record.take();
  }
};

TEST_F(Quitting, QuitWithoutRunningServerIsImmediate) {
  delegate();
  fake.application.requestTermination();
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_TRUE(delegate().quitting);
  EXPECT_EQ(fake.scheduler.now(), 0ms);
}

TEST_F(Quitting, QuitAfterServerExitIsImmediate) {
  startServer();
  exitServer(0);
  fake.record.take();
  fake.application.requestTermination();
  EXPECT_THAT(fake.record.take(), ElementsAre("application terminated"));
}

TEST_F(Quitting, QuitWaitsForServerToExit) {
  startServer({.exitsAfterSigterm = 250ms});
  fake.application.requestTermination();
  EXPECT_FALSE(fake.application.terminated);
  fake.scheduler.advance(300ms);
  EXPECT_TRUE(fake.application.terminated);
  // No error page reports the exit.
  fake.scheduler.advance(10s);
  EXPECT_THAT(fake.record.take(), ElementsAre("terminate process 1", "sleep 100 ms", "sleep 100 ms",
                                              "sleep 100 ms", "application terminated"));
}

TEST_F(Quitting, NoServerStartsWhileQuitting) {
  startServer();
  fake.application.requestTermination();
  fake.scheduler.advance(50ms);
  EXPECT_FALSE(lastServer().isRunning());
  delegate().reloadPage();
  delegate().openOS();
  fake.scheduler.advance(1min);
  EXPECT_EQ(fake.processes.launched.size(), 1U);
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Quitting, QuitWithPendingExitReportIsImmediate) {
  startServer();
  const std::string before = web().shownHtml;
  lastServer().exit(1);
  fake.application.requestTermination();
  EXPECT_TRUE(fake.application.terminated);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(web().shownHtml, before);
}

TEST_F(Quitting, QuitDoesNotWaitForProbe) {
  fake.http.setResponses(localProbe, {{.statusCode = 200, .delay = 2900ms}});
  createWebView();
  delegate().openOS();
  fake.application.requestTermination();
  fake.scheduler.advance(100ms);
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Quitting, QuittingFlagIsSetBeforeSigterm) {
  startServer();
  bool wasQuitting = false;
  bool hasPendingTask = true;
  lastServer().onTerminate = [&] {
    wasQuitting = delegate().quitting;
    hasPendingTask = fake.scheduler.nextDue().has_value();
  };
  fake.application.requestTermination();
  EXPECT_TRUE(wasQuitting);
  EXPECT_FALSE(hasPendingTask);
}

TEST_F(Quitting, ServerIgnoringSigtermIsKilledAfterThirtyWaits) {
  startServer({.exitsAfterSigterm = std::nullopt});
  fake.application.requestTermination();
  fake.scheduler.advance(2999ms);
  EXPECT_TRUE(delegate().server->isRunning());
  EXPECT_FALSE(fake.application.terminated);
  fake.scheduler.advance(1ms);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_EQ(delegate().server->terminationStatus(), SIGKILL);

  std::vector<std::string> expected{"terminate process 1"};
  expected.insert(expected.end(), 30, "sleep 100 ms");
  expected.insert(expected.end(), {"kill process 1", "application terminated"});
  EXPECT_EQ(fake.record.take(), expected);
}

TEST_F(Quitting, ServerThatExitsDuringLastWaitIsNotKilled) {
  startServer({.exitsAfterSigterm = 2950ms});
  fake.application.requestTermination();
  fake.scheduler.advance(3s);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_EQ(fake.record.count("kill"), 0U);
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

TEST_F(Quitting, QuitWaitsForServerThatGotSigterm) {
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

TEST_F(Quitting, AlertAnsweredAfterTerminationHasNoEffect) {
  createWebView();
  delegate().kiesAdres();
  fake.application.requestTermination();
  answerAlert(0, "https://example.test");
  EXPECT_EQ(fake.defaults.text("osURL"), std::nullopt);
  EXPECT_THAT(fake.record.take(), ElementsAre("alert Adres van het OS", "application terminated"));
}

TEST_F(Quitting, QuitDuringLaunchStopsServer) {
  launch();
  fake.application.requestTermination();
  fake.scheduler.advance(5s);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_FALSE(delegate().server->isRunning());
  EXPECT_EQ(shownError(), "");
}

TEST_F(Quitting, OnlineAddressIsNotProbedWhileQuitting) {
  startServer();
  fake.application.requestTermination();
  storeAddress();
  delegate().openOS();
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

}  // namespace
}  // namespace orvel
