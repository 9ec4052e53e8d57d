#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class NodeDiscovery : public CoreTest {};

TEST_F(NodeDiscovery, NodeInUsualLocationNeedsNoShell) {
  fake.locations.executables = {"/opt/homebrew/bin/node"};
  EXPECT_EQ(delegate().nodePath(), "/opt/homebrew/bin/node");
  fake.locations.executables.insert("/usr/local/bin/node");
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(NodeDiscovery, ShellLookupReadsUserConfigurationAndItsOutputIsNotVerified) {
  fake.locations.executables = {};
  // nodeLookupCommand sources ~/.zprofile and ~/.zshrc. Any UTF-8 output that is not
  // empty is used as the path.
  for (const std::string found : {"/home/someone/.nvm/bin/node", "node: aliased to nodejs"}) {
    fake.processes.setShellOutputs(nodeLookupCommand, {found + "\n"});
    EXPECT_EQ(delegate().nodePath(), found);
    EXPECT_THAT(fake.record.take(), ElementsAre("sh " + nodeLookupCommand));
  }
}

TEST_F(NodeDiscovery, MissingNodeOrShellFallsBackToUsrLocalBin) {
  // The launch of this path fails, and the error page says why.
  fake.locations.executables = {};
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
  fake.processes.setScripts(nodeLookupCommand, {{.launchError = "no zsh"}});
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node");
  fake.processes.setShellOutputs(nodeLookupCommand, {"\xff"});
  EXPECT_EQ(delegate().nodePath(), "/usr/local/bin/node") << "the output is not UTF-8";
}

}  // namespace
}  // namespace orvel
