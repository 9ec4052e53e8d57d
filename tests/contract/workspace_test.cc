#include <gmock/gmock.h>

#include "tests/contract/contract_platform.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class WorkspaceContract : public ContractTest {
 protected:
  void open(const std::string &url) { platform->interfaces().workspace.open(*Url::parse(url)); }
  void openFile(const std::string &path) { platform->interfaces().workspace.openFile(path); }
  bool waitForOpened(std::size_t count) {
    return runUntil([&] { return platform->opened().size() >= count; });
  }

  const TemporaryFolder folder;
};

TEST_P(WorkspaceContract, UrlReachesApplicationUnchanged) {
  open("http://example.test/a%20b?c='d'&e=$HOME;f#g");
  ASSERT_TRUE(waitForOpened(1));
  EXPECT_THAT(platform->opened(), ElementsAre("http://example.test/a%20b?c='d'&e=$HOME;f#g"));
}

TEST_P(WorkspaceContract, UrlsOfTwoSchemesReachApplications) {
  open("mailto:somebody@example.test?subject=Hello");
  open("http://example.test/");
  ASSERT_TRUE(waitForOpened(2));
  // The two launches run in parallel.
  EXPECT_THAT(platform->opened(), UnorderedElementsAre("mailto:somebody@example.test?subject=Hello",
                                                       "http://example.test/"));
}

TEST_P(WorkspaceContract, FileReachesApplicationByItsPath) {
  const std::string path = folder.file("a 'list' #2 100% é.txt", "contents\n");
  openFile(path);
  ASSERT_TRUE(waitForOpened(1));
  EXPECT_THAT(platform->opened(), ElementsAre(path));
}

TEST_P(WorkspaceContract, MissingFileIsIgnored) {
  openFile(folder.path() / "missing.txt");
  open("http://example.test/");
  ASSERT_TRUE(waitForOpened(1));
  EXPECT_THAT(platform->opened(), ElementsAre("http://example.test/"));
}

INSTANTIATE_ON_EVERY_PLATFORM(WorkspaceContract);

}  // namespace
}  // namespace orvel
