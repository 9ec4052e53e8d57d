#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class NodeDiscovery : public CoreTest {};

TEST_F(NodeDiscovery, prefersTheFirstInstallLocationAndAsksNoShell) {
  fake.locations.executables = {"/usr/local/bin/node", "/opt/homebrew/bin/node"};
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(NodeDiscovery, takesTheSecondInstallLocationAndAsksNoShell) {
  fake.locations.executables = {"/opt/homebrew/bin/node"};
  EXPECT_EQ(delegate().nodePath(), "/opt/homebrew/bin/node");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(NodeDiscovery, asksTheShellWithTheUsersSettings) {
  fake.locations.executables = {};
  fake.processes.scriptShell(shellNodeLookup, {"/home/iemand/.nvm/bin/node\n"});
  EXPECT_EQ(delegate().nodePath(), "/home/iemand/.nvm/bin/node");
  EXPECT_THAT(fake.record.take(), ElementsAre("sh " + shellNodeLookup));
}

TEST_F(NodeDiscovery, doesNotCheckWhatTheShellSays) {
  fake.locations.executables = {};
  fake.processes.scriptShell(shellNodeLookup, {"node: aliased to nodejs\n"});
  EXPECT_EQ(delegate().nodePath(), "node: aliased to nodejs");
}

TEST_F(NodeDiscovery, withoutAnyNodeGivesTheFirstInstallLocation) {
  fake.locations.executables = {};
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
}

TEST_F(NodeDiscovery, withoutAShellGivesTheFirstInstallLocation) {
  fake.locations.executables = {};
  fake.processes.script(shellNodeLookup, {{.launchError = "no zsh"}});
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
}

}  // namespace
}  // namespace orvel
