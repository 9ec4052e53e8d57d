#include "tests/contract/contract_platform.h"

namespace orvel {

std::vector<PlatformUnderContract> platformsUnderContract() {
  auto platforms = desktopsUnderContract();
  platforms.push_back({"Fake", makeFakeContractPlatform});
  return platforms;
}

std::vector<PlatformUnderContract> desktopsUnderContract() {
#if defined(__APPLE__)
  return {{"MacOS", makeMacosContractPlatform}};
#else
  return {{"Linux", makeLinuxContractPlatform}};
#endif
}

}  // namespace orvel
