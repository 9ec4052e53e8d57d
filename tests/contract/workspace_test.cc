// What every platform promises of default applications.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/contract/contract_platform.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class WorkspaceContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  Workspace &workspace() { return platform->ports().workspace; }
  void open(const std::string &url) { workspace().open(*Url::parse(url)); }
  bool openedAre(std::size_t number) {
    return platform->runUntil([&] { return platform->opened().size() >= number; });
  }

  std::unique_ptr<ContractPlatform> platform = GetParam().make();
  TemporaryFolder folder;
};

TEST_P(WorkspaceContract, OpensAUrlToTheLastCharacter) {
  open("http://example.test/a%20b?c='d'&e=$HOME;f#g");
  ASSERT_TRUE(openedAre(1));
  EXPECT_THAT(platform->opened(), ElementsAre("http://example.test/a%20b?c='d'&e=$HOME;f#g"));
}

TEST_P(WorkspaceContract, OpensByTheScheme) {
  open("mailto:iemand@example.test?subject=Dag");
  open("http://example.test/");
  ASSERT_TRUE(openedAre(2));
  // Two applications that start at once keep no order.
  EXPECT_THAT(platform->opened(), UnorderedElementsAre("mailto:iemand@example.test?subject=Dag",
                                                       "http://example.test/"));
}

TEST_P(WorkspaceContract, OpensAFileByItsType) {
  const std::string path = folder.file("een 'lijst' #2 100% é.txt", "inhoud\n");
  workspace().openFile(path);
  ASSERT_TRUE(openedAre(1));
  EXPECT_THAT(platform->opened(), ElementsAre(path));
}

TEST_P(WorkspaceContract, LeavesWhatNothingOpens) {
  workspace().openFile((folder.path() / "weg.txt").string());
  open("http://example.test/");
  ASSERT_TRUE(openedAre(1));
  EXPECT_THAT(platform->opened(), ElementsAre("http://example.test/"));
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, WorkspaceContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
