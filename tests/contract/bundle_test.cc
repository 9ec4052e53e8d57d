// What every platform promises of the bundle and of the user's folders.

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class BundleContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(BundleContract, GivesNothingForAMissingEntry) {
  EXPECT_EQ(platform_->ports().bundle.infoText("ContractNoSuchEntry"), std::nullopt);
  EXPECT_EQ(platform_->ports().bundle.infoText(""), std::nullopt);
}

TEST_P(BundleContract, TheHomeFolderHasNoTrailingSlash) {
  const std::string home = platform_->ports().locations.home();
  ASSERT_FALSE(home.empty());
  EXPECT_TRUE(home == "/" || !home.ends_with('/')) << home;
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, BundleContract, testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
