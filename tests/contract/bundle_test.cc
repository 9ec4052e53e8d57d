// The contract of the bundle and of the user's folders.

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

using BundleContract = ContractTest;

TEST_P(BundleContract, MissingEntryHasNoText) {
  EXPECT_EQ(platform->interfaces().bundle.infoText("ContractNoSuchEntry"), std::nullopt);
  EXPECT_EQ(platform->interfaces().bundle.infoText(""), std::nullopt);
}

TEST_P(BundleContract, HomeFolderHasNoTrailingSlash) {
  const std::string home = platform->interfaces().locations.home();
  ASSERT_FALSE(home.empty());
  EXPECT_TRUE(home == "/" || !home.ends_with('/')) << home;
}

INSTANTIATE_ON_EVERY_PLATFORM(BundleContract);

}  // namespace
}  // namespace orvel
