#include "app/invariant.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace orvel {

void fatalError(std::string_view reason) {
  std::fputs(("Orvel OS: " + std::string(reason) + "\n").c_str(), stderr);
  std::abort();
}

}  // namespace orvel
