#include "tests/contract/contract_platform.h"

namespace orvel {

std::ostream &operator<<(std::ostream &stream, const ShownAlert &alert) {
  return stream << "message " << testing::PrintToString(alert.message) << ", information "
                << testing::PrintToString(alert.information) << ", buttons "
                << testing::PrintToString(alert.buttons) << ", default "
                << testing::PrintToString(alert.defaultButton);
}

std::vector<PlatformUnderTest> platformsUnderTest() {
  auto platforms = desktopPlatformsUnderTest();
  platforms.push_back({"Fake", makeFakeContractPlatform});
  return platforms;
}

std::vector<PlatformUnderTest> desktopPlatformsUnderTest() {
#if defined(__APPLE__)
  return {{"MacOS", makeMacosContractPlatform}};
#else
  return {{"Linux", [] { return makeLinuxContractPlatform(/*isAccessible=*/true); }}};
#endif
}

}  // namespace orvel
