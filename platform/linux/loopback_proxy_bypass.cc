#include "platform/linux/loopback_proxy_bypass.h"

#include <cstdlib>
#include <string>

namespace orvel {

namespace {

// libproxy 0.4 compares an IPv6 address with its brackets, other proxy resolvers without them.
constexpr const char *loopbackAddresses = "localhost,127.0.0.0/8,::1,[::1]";

std::string withLoopback(const char *excluded) {
  return (excluded != nullptr && *excluded != '\0' ? std::string(excluded) + "," : "") +
         loopbackAddresses;
}

}  // namespace

void bypassProxyForLoopback() {
  const char *lowerCase = std::getenv("no_proxy");
  const char *upperCase = std::getenv("NO_PROXY");
  // A proxy resolver reads only one of the two variables. A variable that is not set gets the
  // value of the other.
  const std::string lowerCaseValue = withLoopback(lowerCase != nullptr ? lowerCase : upperCase);
  const std::string upperCaseValue = withLoopback(upperCase != nullptr ? upperCase : lowerCase);
  constexpr int overwrite = 1;
  ::setenv("no_proxy", lowerCaseValue.c_str(), overwrite);
  ::setenv("NO_PROXY", upperCaseValue.c_str(), overwrite);
}

}  // namespace orvel
