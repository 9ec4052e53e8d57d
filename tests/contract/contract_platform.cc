#include "tests/contract/contract_platform.h"

namespace orvel {

std::vector<PlatformUnderContract> platformsUnderContract() {
  return {
      {"Fake", makeFakeContractPlatform},
#if defined(__linux__)
      {"Linux", makeLinuxContractPlatform},
#elif defined(__APPLE__)
      {"MacOS", makeMacosContractPlatform},
#endif
  };
}

std::vector<PlatformUnderContract> desktopsUnderContract() {
  auto platforms = platformsUnderContract();
  platforms.erase(platforms.begin());
  return platforms;
}

}  // namespace orvel
