#include "tests/contract/contract_platform.h"

namespace orvel {
namespace {

class UserDefaultsContract : public ContractTest {
 protected:
  UserDefaults &defaults() { return platform->interfaces().defaults; }
};

TEST_P(UserDefaultsContract, KeyNeverStoredHasNoText) {
  EXPECT_EQ(defaults().text("contractNeverStored"), std::nullopt);
}

TEST_P(UserDefaultsContract, LastStoredValueOfEachKeyIsReturned) {
  defaults().setText("contractText", "http://localhost:3000");
  defaults().setText("contractOther", "2");
  EXPECT_EQ(defaults().text("contractText"), "http://localhost:3000");
  defaults().setText("contractText", "");
  EXPECT_EQ(defaults().text("contractText"), "");
  EXPECT_EQ(defaults().text("contractOther"), "2");
}

INSTANTIATE_ON_EVERY_PLATFORM(UserDefaultsContract);

}  // namespace
}  // namespace orvel
