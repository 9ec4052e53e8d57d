#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class StaleServer : public CoreTest {
 protected:
  std::string ours() const { return "/usr/local/bin/node " + root() + "/v3/server.mjs\n"; }
  void processIs(const std::string &pid, const std::string &commandLine) {
    fake.processes.scriptShell("ps -o command= -p " + pid, {commandLine});
  }
  std::vector<std::string> cleanUp() {
    delegate().killStaleServer();
    return fake.record.take();
  }
};

TEST_F(StaleServer, FreePortNeedsNoWait) {
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listing));
  EXPECT_EQ(fake.scheduler.now(), 0ms);
}

TEST_F(StaleServer, OtherProcessOnPortIsNotKilled) {
  const std::vector<std::string> commandLines{
      "python3 -m http.server 4767\n",
      "node /other/v3/server.mjs\n",
      "node " + root() + "/v3/SERVER.mjs\n",
      // A process that has exited since the listing.
      "",
  };
  for (const std::string &commandLine : commandLines) {
    fake.processes.scriptShell(listing, {"41\n"});
    processIs("41", commandLine);
    EXPECT_THAT(cleanUp(), ElementsAre("sh " + listing, "sh ps -o command= -p 41")) << commandLine;
  }
}

TEST_F(StaleServer, ServerOfThisRootIsKilledAndPortAwaited) {
  fake.processes.scriptShell(listing, {"41\n", "41\n", "41\n", ""});
  processIs("41", ours());
  EXPECT_THAT(cleanUp(),
              ElementsAre("sh " + listing, "sh ps -o command= -p 41", "sh kill 41", "sh " + listing,
                          "sleep 100 ms", "sh " + listing, "sleep 100 ms", "sh " + listing));
}

TEST_F(StaleServer, BusyPortIsCheckedFortyTimes) {
  fake.processes.scriptShell(listing, {"41\n"});
  processIs("41", ours());
  delegate().killStaleServer();
  EXPECT_EQ(fake.record.count("sh " + listing), 41U);
  EXPECT_EQ(fake.record.count("sleep 100 ms"), 40U);
  EXPECT_EQ(fake.scheduler.now(), 4s);
}

TEST_F(StaleServer, OnlyServerOfThisRootIsKilled) {
  for (const std::string other : {"nginx\n", "node /other/v3/server.mjs\n"}) {
    fake.processes.scriptShell(listing, {"41\n42\n", ""});
    processIs("41", other);
    processIs("42", ours());
    EXPECT_THAT(cleanUp(), ElementsAre("sh " + listing, "sh ps -o command= -p 41",
                                       "sh ps -o command= -p 42", "sh kill 42", "sh " + listing));
  }
}

TEST_F(StaleServer, AllServersOfThisRootAreKilled) {
  fake.processes.scriptShell(listing, {"41\n42\n", ""});
  processIs("41", ours());
  processIs("42", ours());
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listing, "sh ps -o command= -p 41", "sh kill 41",
                                     "sh ps -o command= -p 42", "sh kill 42", "sh " + listing));
}

TEST_F(StaleServer, ScriptAndRootMayBeSeparateArguments) {
  fake.processes.scriptShell(listing, {"41\n", ""});
  processIs("41", "node v3/server.mjs --root " + root() + "\n");
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listing, "sh ps -o command= -p 41", "sh kill 41",
                                     "sh " + listing));
}

TEST_F(StaleServer, EmptyLinesOfListingAreSkipped) {
  fake.processes.scriptShell(listing, {"41\n\n\n42\n"});
  EXPECT_THAT(cleanUp(),
              ElementsAre("sh " + listing, "sh ps -o command= -p 41", "sh ps -o command= -p 42"));
}

TEST_F(StaleServer, FailedListingCountsAsFreePort) {
  fake.processes.script(listing, {{.launchError = "no zsh"}});
  EXPECT_THAT(cleanUp(), ElementsAre("sh " + listing));
}

}  // namespace
}  // namespace orvel
