#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/posix_test_support.h"
#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class Launch : public CoreTest {
 protected:
  Launch() { createWebView(); }

  void startServer() { delegate().startServer(); }
};

TEST_F(Launch, ServerGetsScriptRootPortAndPath) {
  startServer();
  const LaunchRequest &request = lastServer().request;
  EXPECT_EQ(request.executable, "/usr/local/bin/node");
  EXPECT_THAT(request.arguments, ElementsAre(root() + "/v3/server.mjs"));
  EXPECT_EQ(request.workingDirectory, root());
  EXPECT_EQ(request.environmentChanges,
            (std::map<std::string, std::string>{
                {"PORT", "4767"},
                {"PATH", "/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin:/usr/sbin:/sbin"}}));
}

TEST_F(Launch, ServerEndsWithParentAndShellCommandsDoNot) {
  fake.locations.executables = {};
  fake.processes.setShellOutputs(nodeLookupCommand, {"/opt/node\n"});
  std::vector<std::pair<std::string, bool>> launches;
  fake.processes.onLaunch = [&](const LaunchRequest &request) {
    launches.emplace_back(request.executable, request.endsWithParent);
  };
  startServer();
  // The shell commands list the programs that listen on the port and look up node.
  EXPECT_THAT(launches, ElementsAre(std::pair("/bin/zsh", false), std::pair("/bin/zsh", false),
                                    std::pair("/opt/node", true)));
}

TEST_F(Launch, StandardOutputAndErrorShareHandleOfTruncatedLog) {
  writeFile(logPath(), "of yesterday");
  for (const bool exists : {true, false}) {
    SCOPED_TRACE(exists ? "existing log" : "missing log folder");
    if (!exists) std::filesystem::remove_all(root() + "/v3");
    startServer();
    const LaunchRequest &request = lastServer().request;
    ASSERT_EQ(request.standardOutput.kind, StandardStream::Kind::handle);
    ASSERT_EQ(request.standardError.kind, StandardStream::Kind::handle);
    EXPECT_EQ(request.standardOutput.handle, request.standardError.handle);
    EXPECT_EQ(contentsOf(logPath()), "");
    request.standardOutput.handle->write("of today");
    EXPECT_EQ(contentsOf(logPath()), "of today");
  }
}

TEST_F(Launch, LogAndItsFolderAreOnlyForOwner) {
  const posix_test::ScopedUmask umask(0);
  for (const bool exists : {false, true}) {
    SCOPED_TRACE(exists ? "existing log" : "missing log");
    if (exists) {
      std::filesystem::permissions(logPath(), std::filesystem::perms(0666));
      std::filesystem::permissions(root() + "/v3/.local", std::filesystem::perms(0775));
    }
    startServer();
    EXPECT_EQ(posix_test::modeOf(logPath()), 0600U);
    EXPECT_EQ(posix_test::modeOf(root() + "/v3/.local"), 0700U);
  }
}

TEST_F(Launch, ServerInheritsOutputsWhenLogIsUnwritable) {
  const std::string logFolder = root() + "/v3/.local";
  const auto startServerAndExpectInheritedOutputs = [this] {
    startServer();
    const LaunchRequest &request = lastServer().request;
    EXPECT_EQ(request.standardOutput.kind, StandardStream::Kind::inherited);
    EXPECT_EQ(request.standardError.kind, StandardStream::Kind::inherited);
    EXPECT_TRUE(delegate().server->isRunning());
    EXPECT_EQ(shownError(), "");
  };
  writeFile(logFolder, "a file");
  startServerAndExpectInheritedOutputs();
  std::filesystem::remove(logFolder);
  std::filesystem::create_directory(logFolder);
  // open(2) of a FIFO blocks until it has a reader, so startServer must not open this log.
  ASSERT_EQ(::mkfifo(logPath().c_str(), 0600), 0);
  startServerAndExpectInheritedOutputs();
}

TEST_F(Launch, FailedLaunchShowsErrorAndKeepsPreviousServer) {
  // The behaviour of the fake node process.
  setNodeScript({.launchError = "/usr/local/bin/node: No such file or directory"});
  startServer();
  EXPECT_EQ(shownError(), "Kon node niet starten: /usr/local/bin/node: No such file or directory");
  EXPECT_EQ(delegate().server, nullptr);

  setNodeScript({});
  startServer();
  const auto first = delegate().server;
  exitServer(1);
  setNodeScript({.launchError = "broken"});
  startServer();
  EXPECT_EQ(shownError(), "Kon node niet starten: broken");
  EXPECT_EQ(delegate().server, first);
}

TEST_F(Launch, ExitIsReportedWithExitCodeOrSignalNumber) {
  // -1 is the status of a child that other code has reaped.
  for (const int status : {0, 1, 3, SIGKILL, -1}) {
    startServer();
    lastServer().exit(status);
    EXPECT_EQ(shownError(), "");
    fake.scheduler.runUntilIdle();
    EXPECT_EQ(shownError(), "De OS-server is gestopt (code " + std::to_string(status) +
                                "). Zie ~/orvel-os/v3/.local/server.log. Herstarten met ⌘R.");
    ASSERT_NE(delegate().server, nullptr);
    EXPECT_FALSE(delegate().server->isRunning());
    web().loadHtml("");
  }
}

TEST_F(Launch, LooksForStaleServerThenFindsNodeThenTruncatesLogThenLaunches) {
  writeFile(logPath(), "old");
  fake.locations.executables = {};
  std::vector<std::string> logs;
  fake.processes.onLaunch = [&](const LaunchRequest &) { logs.push_back(contentsOf(logPath())); };
  startServer();
  // The lookup of node prints nothing, so the core launches the default path.
  EXPECT_THAT(fake.record.take(),
              ElementsAre("sh " + listenersCommand, "sh " + nodeLookupCommand,
                          "launch /usr/local/bin/node " + root() + "/v3/server.mjs"));
  EXPECT_THAT(logs, ElementsAre("old", "old", "")) << "the log at each of the three launches";
}

TEST_F(Launch, ExitOfReplacedServerIsIgnored) {
  startServer();
  lastServer().exit(1);
  startServer();
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.processes.launched.size(), 2U);
  EXPECT_EQ(delegate().server, fake.processes.launched[1]);
  EXPECT_EQ(shownError(), "");
}

TEST_F(Launch, PostedExitReportDoesNotRetainDelegate) {
  startServer();
  lastServer().exit(1);
  // The second check of the condition ends runUntil, so only the first task runs: the termination
  // handler, which posts the report to the main thread.
  int checks = 0;
  fake.scheduler.runUntil([&] { return checks++ == 1; }, 0ms);
  EXPECT_TRUE(releaseDelegate().expired());
  fake.record.take();
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(Launch, ExitAfterDelegateIsDestroyedIsIgnored) {
  startServer();
  releaseDelegate();
  fake.record.take();
  lastServer().exit(1);
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

}  // namespace
}  // namespace orvel
