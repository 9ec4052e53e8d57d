// Property: the Cookie header of a download has the cookies whose domain is a suffix of the
// requested host, except those with control characters other than a tab.

#include <libsoup/soup.h>
#include <sanitizer/lsan_interface.h>

#include <algorithm>
#include <memory>
#include <string>

#include "server/readiness.h"
#include "tests/fuzz/fuzz_target.h"
#include "web/downloads.h"

namespace orvel::fuzz {

namespace {

using SoupUri = std::unique_ptr<GUri, void (*)(GUri *)>;

std::string textOrEmpty(const char *value) { return value != nullptr ? value : ""; }

/// Returns the cookies that the Set-Cookie fields of a host would set.
std::vector<Cookie> cookiesOf(const std::vector<std::string_view> &fields,
                              const std::string &host) {
  const SoupUri origin(
      g_uri_build(G_URI_FLAGS_NONE, "http", nullptr, host.c_str(), -1, "/", nullptr, nullptr),
      g_uri_unref);
  // libsoup leaks the first of two attributes with the same name.
  const __lsan::ScopedDisabler disabler;
  std::vector<Cookie> cookies;
  for (const std::string_view field : fields) {
    const std::unique_ptr<SoupCookie, void (*)(SoupCookie *)> set(
        soup_cookie_parse(std::string(field).c_str(), origin.get()), soup_cookie_free);
    if (!set) continue;
    Cookie cookie;
    cookie.name = textOrEmpty(soup_cookie_get_name(set.get()));
    cookie.value = textOrEmpty(soup_cookie_get_value(set.get()));
    cookie.domain = textOrEmpty(soup_cookie_get_domain(set.get()));
    cookies.push_back(std::move(cookie));
  }
  return cookies;
}

/// Returns whether a host gets a cookie: the host ends with the cookie's domain without the full
/// stops at the ends of the domain. Like cookieHeader(), ignores label boundaries.
bool isSentTo(const Cookie &cookie, const std::string &host) {
  std::string domain = cookie.domain;
  while (domain.starts_with('.')) domain.erase(0, 1);
  while (domain.ends_with('.')) domain.pop_back();
  if (domain.size() > host.size()) return false;
  return std::equal(domain.rbegin(), domain.rend(), host.rbegin());
}

void requireCookieHeader(const std::vector<Cookie> &cookies, const std::string &host) {
  std::string expected;
  for (const Cookie &cookie : cookies) {
    if (!isSentTo(cookie, host)) continue;
    const std::string pair = cookie.name + cookie.value;
    if (std::any_of(pair.begin(), pair.end(), [](char character) {
          return g_ascii_iscntrl(character) && character != '\t';
        })) {
      continue;
    }
    expected += (expected.empty() ? "" : "; ") + cookie.name + "=" + cookie.value;
  }
  require(cookieHeader(cookies, host) == expected,
          "the header has exactly the cookies of the host without control characters, except tabs");
}

/// Requires that the key cookie, which holds the app key, is for the host of the server address,
/// and only for https, as for every server on another machine.
void requireKeyCookie(std::string_view address) {
  const auto now = std::chrono::system_clock::time_point();
  const auto cookie = keyCookie(address, /*local=*/false, "key", now);
  const auto url = Url::parse(address);
  require(cookie.has_value() == (url && !url->host.empty()),
          "an address has a key cookie exactly when it has a host");
  require(!keyCookie(address, /*local=*/false, "", now), "without a key there is no cookie");
  if (!cookie) return;
  require(cookie->domain == url->host && cookie->secure,
          "the key cookie has the domain of the host and is secure");
  // cookieHeader() removes the full stops at both ends of a domain, but not those of a host.
  require(cookieHeader({*cookie}, url->host) == "orvelapp=key" || url->host.starts_with('.') ||
              url->host.ends_with('.'),
          "downloads send the key cookie");
}

}  // namespace

/// The first line of the input is a server address. Each other line is a Set-Cookie field.
void testInput(std::string_view input) {
  auto fields = piecesOf(input);
  const std::string address(fields.front());
  fields.erase(fields.begin());
  requireKeyCookie(address);
  const auto url = Url::parse(address);
  const std::string host = url && !url->host.empty() ? url->host : "os.test";
  if (host.find('\0') != std::string::npos || !g_utf8_validate(host.c_str(), -1, nullptr)) return;
  const auto cookies = cookiesOf(fields, host);
  for (const std::string &each : {host, std::string("another-host.test")}) {
    requireCookieHeader(cookies, each);
  }
  require(cookieHeader(cookies, "").empty(), "without a host no cookies are sent");
}

}  // namespace orvel::fuzz
