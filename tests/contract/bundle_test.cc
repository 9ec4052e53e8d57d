// The contract of Bundle (entries of Info.plist, code signatures of an Apple developer team), and
// of the home folder and quarantine of Locations. Quarantine marks a downloaded file for Gatekeeper
// on macOS, and does nothing on Linux.

#include "tests/contract/contract_platform.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using BundleContract = ContractTest;

TEST_P(BundleContract, MissingInfoEntryHasNoText) {
  EXPECT_EQ(platform->interfaces().bundle.infoText("ContractNoSuchEntry"), std::nullopt);
  EXPECT_EQ(platform->interfaces().bundle.infoText(""), std::nullopt);
}

TEST_P(BundleContract, UnsignedOrMissingFolderIsNotSignedByTeam) {
  const TemporaryFolder folder;
  const Bundle &bundle = platform->interfaces().bundle;
  EXPECT_FALSE(bundle.isSignedByTeam(folder.path(), "TEAM123456"));
  EXPECT_FALSE(bundle.isSignedByTeam(folder.path() / "missing", "TEAM123456"));
}

TEST_P(BundleContract, QuarantineKeepsContentsAndIgnoresMissingFile) {
  const TemporaryFolder folder;
  const Locations &locations = platform->interfaces().locations;
  const std::string file = folder.file("list.csv", "contents");
  locations.quarantine(file, *Url::parse("https://os.test/list.csv"));
  EXPECT_EQ(posix_test::contentsOf(file), "contents");
  locations.quarantine(folder.path() / "missing", *Url::parse("https://os.test/list.csv"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "missing"));
}

TEST_P(BundleContract, HomeFolderHasNoTrailingSlash) {
  const std::string home = platform->interfaces().locations.home();
  ASSERT_FALSE(home.empty());
  EXPECT_TRUE(home == "/" || !home.ends_with('/')) << home;
}

INSTANTIATE_ON_EVERY_PLATFORM(BundleContract);

}  // namespace
}  // namespace orvel
