// The contract of the user defaults.

#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class UserDefaultsContract : public ContractTest {
 protected:
  UserDefaults &defaults() { return platform->interfaces().defaults; }
};

TEST_P(UserDefaultsContract, KeyNeverStoredIsAbsent) {
  EXPECT_EQ(defaults().text("contractNeverStored"), std::nullopt);
}

TEST_P(UserDefaultsContract, StoredValueIsReturned) {
  defaults().setText("contractText", "http://localhost:3000");
  EXPECT_EQ(defaults().text("contractText"), "http://localhost:3000");
  defaults().setText("contractText", "");
  EXPECT_EQ(defaults().text("contractText"), "");
}

TEST_P(UserDefaultsContract, KeysAreIndependent) {
  defaults().setText("contractOne", "1");
  defaults().setText("contractTwo", "2");
  EXPECT_EQ(defaults().text("contractOne"), "1");
  EXPECT_EQ(defaults().text("contractTwo"), "2");
}

INSTANTIATE_ON_EVERY_PLATFORM(UserDefaultsContract);

}  // namespace
}  // namespace orvel
