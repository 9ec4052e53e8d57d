#include "tests/contract/contract_platform.h"

namespace orvel {

std::vector<PlatformUnderContract> platformsUnderContract() {
  return {
    {"Fake", makeFakeContractPlatform},
#if defined(__linux__)
        {"Linux", makeLinuxContractPlatform},
#endif
  };
}

}  // namespace orvel
