// What every platform promises of the user's settings.

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class UserDefaultsContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  UserDefaults &defaults() { return platform_->ports().defaults; }

  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(UserDefaultsContract, GivesNothingForWhatWasNeverStored) {
  EXPECT_EQ(defaults().text("contractNeverStored"), std::nullopt);
}

TEST_P(UserDefaultsContract, GivesBackWhatWasStored) {
  defaults().setText("contractText", "http://localhost:3000");
  EXPECT_EQ(defaults().text("contractText"), "http://localhost:3000");
  defaults().setText("contractText", "");
  EXPECT_EQ(defaults().text("contractText"), "");
}

TEST_P(UserDefaultsContract, KeepsOtherKeysApart) {
  defaults().setText("contractOne", "1");
  defaults().setText("contractTwo", "2");
  EXPECT_EQ(defaults().text("contractOne"), "1");
  EXPECT_EQ(defaults().text("contractTwo"), "2");
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, UserDefaultsContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
