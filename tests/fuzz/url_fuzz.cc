// Properties: the URL parser and libsoup agree on the host and the port of an address, neither
// resolving a relative path nor percent-encoding changes the host, and header fields are forwarded
// to no other host.

#include <libsoup/soup.h>

#include <memory>
#include <string>

#include "base/percent_encoding.h"
#include "base/url.h"
#include "tests/fuzz/fuzz_target.h"
#include "web/same_origin.h"

namespace orvel::fuzz {

namespace {

using SoupUri = std::unique_ptr<GUri, void (*)(GUri *)>;

/// Returns the address as libsoup parses it, or null.
SoupUri soupUri(const Url &url) {
  constexpr auto flags = static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS);
  return {g_uri_parse(url.absoluteString.c_str(), flags, nullptr), g_uri_unref};
}

int portOf(GUri *uri) {
  const int port = g_uri_get_port(uri);
  if (port != -1) return port;
  return std::string_view(g_uri_get_scheme(uri)) == "https" ? 443 : 80;
}

bool isWeb(const Url &url) { return url.scheme == "http" || url.scheme == "https"; }

void requireParts(const Url &url) {
  require(Url::parse(url.absoluteString) == url, "the parts match the text");
  require(url.path.size() < 2 || !url.path.ends_with('/'), "Url::path omits a trailing slash");
  const SoupUri sent = soupUri(url);
  if (!isWeb(url) || url.absoluteString.find('\0') != std::string::npos || !sent) return;
  const char *host = g_uri_get_host(sent.get());
  if (host == nullptr || url.host.empty()) return;
  require(g_ascii_strcasecmp(host, url.host.c_str()) == 0,
          "libsoup sends a request to the host of the URL");
  const int defaultPort = g_ascii_strcasecmp(url.scheme.c_str(), "https") == 0 ? 443 : 80;
  require(portOf(sent.get()) == url.port.value_or(defaultPort),
          "libsoup sends a request to the port of the URL");
}

void requireResolved(std::string_view reference, const Url &parsed, const Url &base) {
  const auto resolved = Url::resolve(reference, base);
  require(resolved.has_value(), "a valid reference can be resolved");
  require(!resolved->scheme.empty(), "a resolved URL is absolute");
  requireParts(*resolved);
  if (parsed.scheme.empty()) {
    require(resolved->scheme == base.scheme, "a relative reference keeps the scheme");
    require(reference.starts_with("//") || resolved->host == base.host,
            "a relative path keeps the host");
  } else {
    require(resolved->host == parsed.host, "an absolute reference keeps its own host");
  }
}

/// isSameOriginOrUpgrade decides whether a redirect keeps the header fields. Requires that it
/// accepts only an origin that libsoup treats as the same, or as the same host with https instead
/// of http.
void requireSafeForwarding(const Url &from, const Url &to) {
  if (!isWeb(from) || !isWeb(to) || !isSameOriginOrUpgrade(from, to)) return;
  require(from.scheme == to.scheme || to.scheme == "https",
          "header fields are not forwarded from https to http");
  const SoupUri one = soupUri(from);
  const SoupUri other = soupUri(to);
  if (!one || !other) return;
  const char *host = g_uri_get_host(one.get());
  const char *otherHost = g_uri_get_host(other.get());
  if (host == nullptr || otherHost == nullptr) return;
  require(g_ascii_strcasecmp(host, otherHost) == 0,
          "header fields are not forwarded to another host");
  require(from.scheme != to.scheme || portOf(one.get()) == portOf(other.get()),
          "header fields are not forwarded to another port");
}

void requirePercentEncoding(std::string_view address) {
  const std::string escaped = percentEncoded(address);
  require(percentEncoded(escaped) == escaped, "encoding is idempotent");
  require(!Url::parse(address) || escaped == address,
          "a valid URL reference is unchanged by encoding");
  const auto schemeEnd = address.find("://");
  if (schemeEnd == std::string::npos) return;
  // The scheme and the authority. Skips addresses whose first "://" does not follow the scheme.
  const auto origin = Url::parse(address.substr(0, address.find_first_of("/?#", schemeEnd + 3)));
  if (!origin || origin->scheme.size() != schemeEnd) return;
  const auto url = Url::parse(escaped);
  require(url.has_value(), "any text after a host can be encoded");
  require(url->host == origin->host, "encoding keeps the host");
}

}  // namespace

void testInput(std::string_view input) {
  const auto [address, reference] = linesOf<2>(input);
  requirePercentEncoding(address);
  requirePercentEncoding(reference);
  const auto base = Url::parse(address);
  const auto parsed = Url::parse(reference);
  if (base) requireParts(*base);
  if (!base || base->scheme.empty()) return;
  const std::string escaped = percentEncoded(reference);
  require(Url::resolve(reference, *base) == Url::resolve(escaped, *base),
          "a reference is resolved like its encoded form");
  require(Url::parse(escaped).has_value() == Url::resolve(reference, *base).has_value(),
          "a reference can be resolved exactly when its encoded form is valid");
  if (!parsed) return;
  requireResolved(reference, *parsed, *base);
  requireSafeForwarding(*base, *parsed);
}

}  // namespace orvel::fuzz
