#include "web/same_origin.h"

#include "base/ascii.h"

namespace orvel {

namespace {

constexpr int httpPort = 80;
constexpr int httpsPort = 443;

bool isHttps(const Url &url) { return equalIgnoringAsciiCase(url.scheme, "https"); }

int portOf(const Url &url) { return url.port.value_or(isHttps(url) ? httpsPort : httpPort); }

}  // namespace

bool isSameOriginOrUpgrade(const Url &from, const Url &to) {
  if (!equalIgnoringAsciiCase(from.host, to.host)) return false;
  if (equalIgnoringAsciiCase(from.scheme, to.scheme)) return portOf(from) == portOf(to);
  return equalIgnoringAsciiCase(from.scheme, "http") && isHttps(to) && portOf(from) == httpPort &&
         portOf(to) == httpsPort;
}

}  // namespace orvel
