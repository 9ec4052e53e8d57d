#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class StaleServer : public CoreTest {
 protected:
  std::string commandLineOfThisRoot() const {
    return "/usr/local/bin/node " + root() + "/v3/server.mjs\n";
  }
  void setCommandLine(const std::string &pid, const std::string &commandLine) {
    fake.processes.setShellOutputs("ps -o command= -p " + pid, {commandLine});
  }
  std::vector<std::string> cleanUp() {
    delegate().killStaleServer();
    return fake.record.take();
  }
};

TEST_F(StaleServer, FreePortOrFailedListingNeedsNoWait) {
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listenersCommand));
  fake.processes.setScripts(listenersCommand, {{.launchError = "no zsh"}});
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listenersCommand));
  EXPECT_EQ(fake.scheduler.now(), 0ms);
}

TEST_F(StaleServer, OtherProcessOnPortIsNotKilled) {
  const std::vector<std::string> commandLines{
      "python3 -m http.server 4767\n",
      "node /other/v3/server.mjs\n",
      "node " + root() + "/v3/SERVER.mjs\n",
      // A process that has exited since it was listed.
      "",
  };
  for (const std::string &commandLine : commandLines) {
    fake.processes.setShellOutputs(listenersCommand, {"41\n"});
    setCommandLine("41", commandLine);
    EXPECT_THAT(cleanUp(), ElementsAre("sh " + listenersCommand, "sh ps -o command= -p 41"))
        << commandLine;
  }
}

TEST_F(StaleServer, ServerOfThisRootIsKilledAndPortAwaited) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n", "41\n", "41\n", ""});
  setCommandLine("41", commandLineOfThisRoot());
  EXPECT_THAT(cleanUp(),
              ElementsAre("sh " + listenersCommand, "sh ps -o command= -p 41", "sh kill 41",
                          "sh " + listenersCommand, "sleep 100 ms", "sh " + listenersCommand,
                          "sleep 100 ms", "sh " + listenersCommand));
}

TEST_F(StaleServer, BusyPortIsCheckedFortyTimes) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n"});
  setCommandLine("41", commandLineOfThisRoot());
  delegate().killStaleServer();
  EXPECT_EQ(fake.record.count("sh " + listenersCommand), 41U);
  EXPECT_EQ(fake.record.count("sleep 100 ms"), 40U);
  EXPECT_EQ(fake.scheduler.now(), 4s);
}

TEST_F(StaleServer, AllServersOfThisRootAreKilledAndNoOther) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n42\n43\n", ""});
  setCommandLine("41", commandLineOfThisRoot());
  setCommandLine("42", "node /other/v3/server.mjs\n");
  setCommandLine("43", commandLineOfThisRoot());
  EXPECT_THAT(cleanUp(),
              ElementsAre("sh " + listenersCommand, "sh ps -o command= -p 41", "sh kill 41",
                          "sh ps -o command= -p 42", "sh ps -o command= -p 43", "sh kill 43",
                          "sh " + listenersCommand));
}

TEST_F(StaleServer, ScriptAndRootMayBeSeparateArguments) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n", ""});
  setCommandLine("41", "node v3/server.mjs --root " + root() + "\n");
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listenersCommand, "sh ps -o command= -p 41",
                                     "sh kill 41", "sh " + listenersCommand));
}

TEST_F(StaleServer, EmptyLinesOfListingAreSkipped) {
  fake.processes.setShellOutputs(listenersCommand, {"41\n\n\n42\n"});
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listenersCommand, "sh ps -o command= -p 41",
                                     "sh ps -o command= -p 42"));
}

TEST_F(StaleServer, ListingIsNotParsedAsNumbers) {
  fake.processes.setShellOutputs(listenersCommand, {"lsof: no port\n", ""});
  setCommandLine("lsof: no port", commandLineOfThisRoot());
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listenersCommand, "sh ps -o command= -p lsof: no port",
                                     "sh kill lsof: no port", "sh " + listenersCommand));
}

}  // namespace
}  // namespace orvel
