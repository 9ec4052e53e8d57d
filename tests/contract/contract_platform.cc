#include "tests/contract/contract_platform.h"

namespace orvel {

std::vector<PlatformUnderTest> platformsUnderTest() {
  auto platforms = realPlatformsUnderTest();
  platforms.push_back({"Fake", makeFakeContractPlatform});
  return platforms;
}

std::vector<PlatformUnderTest> realPlatformsUnderTest() {
#if defined(__APPLE__)
  return {{"MacOS", makeMacosContractPlatform}};
#else
  return {{"Linux", makeLinuxContractPlatform}};
#endif
}

}  // namespace orvel
