#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class NodeDiscovery : public CoreTest {};

TEST_F(NodeDiscovery, FirstInstalledLocationNeedsNoShell) {
  fake.locations.executables = {"/opt/homebrew/bin/node"};
  EXPECT_EQ(delegate().nodePath(), "/opt/homebrew/bin/node");
  fake.locations.executables.insert("/usr/local/bin/node");
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(NodeDiscovery, ShellLookupReadsUserConfiguration) {
  fake.locations.executables = {};
  fake.processes.setShellOutputs(nodeLookupCommand, {"/home/someone/.nvm/bin/node\n"});
  EXPECT_EQ(delegate().nodePath(), "/home/someone/.nvm/bin/node");
  EXPECT_THAT(fake.record.take(), ElementsAre("sh " + nodeLookupCommand));
}

TEST_F(NodeDiscovery, ShellOutputIsNotVerified) {
  fake.locations.executables = {};
  fake.processes.setShellOutputs(nodeLookupCommand, {"node: aliased to nodejs\n"});
  EXPECT_EQ(delegate().nodePath(), "node: aliased to nodejs");
}

TEST_F(NodeDiscovery, MissingNodeOrShellFallsBackToFirstInstalledLocation) {
  fake.locations.executables = {};
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
  fake.processes.setScripts(nodeLookupCommand, {{.launchError = "no zsh"}});
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
}

}  // namespace
}  // namespace orvel
