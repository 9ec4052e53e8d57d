#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class StaleServer : public CoreTest {
 protected:
  /// Returns the command line of a server of this data root, as ps prints it.
  std::string commandLineOfThisRoot() const {
    return "/usr/local/bin/node " + root() + "/v3/server.mjs\n";
  }
  void setCommandLine(const std::string &pid, const std::string &commandLine) {
    fake.processes.setShellOutputs("ps -o command= -p " + pid, {commandLine});
  }
  /// Stops the stale servers and returns the calls to the platform.
  std::vector<std::string> killStaleServerAndTakeCalls() {
    delegate().killStaleServer();
    return fake.record.take();
  }
};

TEST_F(StaleServer, FreePortOrFailedListingNeedsNoWait) {
  EXPECT_THAT(killStaleServerAndTakeCalls(), ElementsAre("sh " + listenersCommand));
  fake.processes.setScripts(listenersCommand, {{.launchError = "no zsh"}});
  EXPECT_THAT(killStaleServerAndTakeCalls(), ElementsAre("sh " + listenersCommand));
  EXPECT_EQ(fake.scheduler.now(), 0ms);
}

TEST_F(StaleServer, ServerOfThisRootIsKilledAndPortAwaited) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n", "41\n", "41\n", ""});
  setCommandLine("41", commandLineOfThisRoot());
  EXPECT_THAT(killStaleServerAndTakeCalls(),
              ElementsAre("sh " + listenersCommand, "sh ps -o command= -p 41", "sh kill 41",
                          "sh " + listenersCommand, "sleep 100 ms", "sh " + listenersCommand,
                          "sleep 100 ms", "sh " + listenersCommand));
}

TEST_F(StaleServer, BusyPortIsCheckedFortyTimes) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n"});
  setCommandLine("41", commandLineOfThisRoot());
  delegate().killStaleServer();
  // The first listing, and one before each of the 40 waits.
  EXPECT_EQ(fake.record.count("sh " + listenersCommand), 41U);
  EXPECT_EQ(fake.record.count("sleep 100 ms"), 40U);
  EXPECT_EQ(fake.scheduler.now(), 4s);
}

TEST_F(StaleServer, OnlyServersOfThisRootAreKilled) {
  struct Process {
    std::string pid;
    std::string commandLine;
    bool isKilled;
  };
  struct Row {
    std::string listing;
    std::vector<Process> processes;
  };
  const std::string otherRoot = "node /other/v3/server.mjs\n";
  const std::string ownRoot = commandLineOfThisRoot();
  const std::vector<Row> rows{
      {"41\n", {{"41", "python3 -m http.server 4767\n", false}}},
      {"41\n", {{"41", otherRoot, false}}},
      {"41\n", {{"41", "node " + root() + "/v3/SERVER.mjs\n", false}}},
      // A process that has exited since it was listed.
      {"41\n", {{"41", "", false}}},
      // The command line only has to contain "v3/server.mjs" and the root, anywhere.
      {"41\n", {{"41", "node v3/server.mjs --root " + root() + "\n", true}}},
      {"41\n42\n43\n", {{"41", ownRoot, true}, {"42", otherRoot, false}, {"43", ownRoot, true}}},
      {"41\n\n\n42\n", {{"41", "", false}, {"42", ownRoot, true}}},
      // A line is used as it stands, even if it is not a number.
      {"lsof: no port\n", {{"lsof: no port", ownRoot, true}}},
  };
  for (const auto &[listing, processes] : rows) {
    fake.processes.setShellOutputs(listenersCommand, {listing, ""});
    std::vector<std::string> expected{"sh " + listenersCommand};
    bool isAnyKilled = false;
    for (const auto &[pid, commandLine, isKilled] : processes) {
      setCommandLine(pid, commandLine);
      expected.push_back("sh ps -o command= -p " + pid);
      if (isKilled) expected.push_back("sh kill " + pid);
      isAnyKilled = isAnyKilled || isKilled;
    }
    if (isAnyKilled) expected.push_back("sh " + listenersCommand);
    EXPECT_EQ(killStaleServerAndTakeCalls(), expected) << listing << processes[0].commandLine;
  }
}

}  // namespace
}  // namespace orvel
