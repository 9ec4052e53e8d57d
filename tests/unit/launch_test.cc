#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class ServerLaunch : public CoreTest {
 protected:
  void start() {
    if (!delegate().web) makeWebView();
    delegate().startServer();
  }
};

TEST_F(ServerLaunch, clearsThePortThenFindsNodeThenLaunches) {
  fake.locations.executables = {};
  fake.processes.scriptShell(shellNodeLookup, {"/elders/node\n"});
  start();
  EXPECT_THAT(fake.record.take(), ElementsAre("sh " + listing, "sh " + shellNodeLookup,
                                              "launch /elders/node " + root() + "/v3/server.mjs"));
}

TEST_F(ServerLaunch, runsInTheRootWithPortAndSearchPathReplaced) {
  start();
  const LaunchRequest &request = lastServer().request;
  EXPECT_EQ(request.executable, "/usr/local/bin/node");
  EXPECT_THAT(request.arguments, ElementsAre(root() + "/v3/server.mjs"));
  EXPECT_EQ(request.workingDirectory, root());
  EXPECT_EQ(request.environmentChanges,
            (std::map<std::string, std::string>{
                {"PORT", "4767"},
                {"PATH", "/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin"}}));
}

TEST_F(ServerLaunch, ServerAloneEndsWithTheApplication) {
  fake.locations.executables = {};
  fake.processes.scriptShell(shellNodeLookup, {"/opt/node\n"});
  std::vector<std::pair<std::string, bool>> launches;
  fake.processes.onLaunch = [&](const LaunchRequest &request) {
    launches.emplace_back(request.executable, request.endsWithParent);
  };
  start();
  EXPECT_THAT(launches, ElementsAre(std::pair("/bin/zsh", false), std::pair("/bin/zsh", false),
                                    std::pair("/opt/node", true)));
}

TEST_F(ServerLaunch, bothOutputsShareOneHandleOnTheEmptiedLog) {
  writeFile(logPath(), "van gisteren");
  start();
  const LaunchRequest &request = lastServer().request;
  ASSERT_EQ(request.standardOutput.kind, StandardStream::Kind::handle);
  ASSERT_EQ(request.standardError.kind, StandardStream::Kind::handle);
  EXPECT_EQ(request.standardOutput.handle, request.standardError.handle);
  EXPECT_EQ(readFile(logPath()), "");
  request.standardOutput.handle->write("vandaag");
  EXPECT_EQ(readFile(logPath()), "vandaag");
}

TEST_F(ServerLaunch, makesTheLogFolderWithTheFolderAboveIt) {
  std::filesystem::remove_all(root() + "/v3");
  start();
  const LaunchRequest &request = lastServer().request;
  ASSERT_EQ(request.standardOutput.kind, StandardStream::Kind::handle);
  request.standardOutput.handle->write("vandaag");
  EXPECT_EQ(readFile(logPath()), "vandaag");
}

TEST_F(ServerLaunch, withoutALogFolderTheOutputsAreInherited) {
  writeFile(root() + "/v3/.local", "een bestand");
  start();
  const LaunchRequest &request = lastServer().request;
  EXPECT_EQ(request.standardOutput.kind, StandardStream::Kind::inherited);
  EXPECT_EQ(request.standardError.kind, StandardStream::Kind::inherited);
  EXPECT_TRUE(delegate().server->isRunning());
  EXPECT_EQ(shownError(), "");
}

TEST_F(ServerLaunch, failureIsShownAndTheOldServerStaysKnown) {
  start();
  const auto first = delegate().server;
  lastServer().exit(0);
  fake.scheduler.runUntilIdle();
  fake.processes.script("/usr/local/bin/node",
                        {{.launchError = "/usr/local/bin/node: No such file or directory"}});
  start();
  EXPECT_EQ(shownError(), "Kon node niet starten: /usr/local/bin/node: No such file or directory");
  EXPECT_EQ(delegate().server, first);
}

TEST_F(ServerLaunch, firstFailureLeavesNoServer) {
  fake.processes.script("/usr/local/bin/node", {{.launchError = "stuk"}});
  start();
  EXPECT_EQ(delegate().server, nullptr);
}

TEST_F(ServerLaunch, exitIsReportedWithItsCode) {
  start();
  lastServer().exit(1);
  EXPECT_EQ(shownError(), "");
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(shownError(),
            "De OS-server is gestopt (code 1). Zie ~/orvel-os/v3/.local/server.log. "
            "Herstarten met ⌘R.");
  ASSERT_NE(delegate().server, nullptr);
  EXPECT_FALSE(delegate().server->isRunning());
}

TEST_F(ServerLaunch, exitBySignalIsReportedWithItsNumber) {
  start();
  lastServer().exit(SIGKILL);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(shownError().substr(0, 33), "De OS-server is gestopt (code 9).");
}

TEST_F(ServerLaunch, immediateExitIsReportedToo) {
  fake.processes.script("/usr/local/bin/node", {{.exitsAfter = 0ms, .status = 3}});
  start();
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(shownError().substr(0, 33), "De OS-server is gestopt (code 3).");
}

TEST_F(ServerLaunch, waitsForNoReaderOfAPipeInPlaceOfTheLog) {
  std::filesystem::create_directories(root() + "/v3/.local");
  ASSERT_EQ(::mkfifo(logPath().c_str(), 0600), 0);
  start();
  EXPECT_EQ(lastServer().request.standardOutput.kind, StandardStream::Kind::inherited);
}

TEST_F(ServerLaunch, emptiesTheLogAfterTheStaleServerIsGone) {
  writeFile(logPath(), "oud");
  std::string seen;
  fake.processes.onLaunch = [&](const LaunchRequest &request) {
    if (request.arguments.back() == listing) seen = readFile(logPath());
  };
  start();
  EXPECT_EQ(seen, "oud");
  EXPECT_EQ(readFile(logPath()), "");
}

TEST_F(ServerLaunch, exitDuringQuittingIsNotReported) {
  start();
  delegate().quitting = true;
  lastServer().exit(0);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(shownError(), "");
}

TEST_F(ServerLaunch, lateReportOfAReplacedServerIsDropped) {
  start();
  lastServer().exit(1);
  start();
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.processes.launched.size(), 2U);
  EXPECT_EQ(delegate().server, fake.processes.launched[1]);
  EXPECT_EQ(shownError(), "");
}

TEST_F(ServerLaunch, reportWithoutAServerIsDropped) {
  start();
  const auto task = fake.processes.launched[0];
  delegate().server = nullptr;
  task->exit(1);
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(shownError(), "");
}

TEST_F(ServerLaunch, reportOnItsWayDoesNotKeepTheDelegate) {
  start();
  const auto known = delegate().weak_from_this();
  lastServer().exit(1);
  // One step: the exit is known, the report waits for the main thread.
  int steps = 0;
  fake.scheduler.runUntil([&] { return steps++ == 1; }, 0ms);
  forgetDelegate();
  EXPECT_TRUE(known.expired());
  fake.record.take();
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(ServerLaunch, reportAfterTheDelegateIsGoneDoesNothing) {
  start();
  const auto task = fake.processes.launched[0];
  forgetDelegate();
  fake.record.take();
  task->exit(1);
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

}  // namespace
}  // namespace orvel
