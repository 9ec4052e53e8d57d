#include "base/url.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <system_error>

#include "base/ascii.h"
#include "base/percent_encoding.h"
#include "platform/linux/glib/utf8.h"

namespace orvel {

namespace {

// The characters other than letters and digits in two sets of RFC 3986, sections 2.2 and 2.3.
constexpr std::string_view unreserved = "-._~";
constexpr std::string_view subDelimiters = "!$&'()*+,;=";

bool isOneOf(char character, std::string_view characters) {
  return characters.find(character) != std::string_view::npos;
}

/// Returns whether a text has only unreserved characters, sub-delimiters, complete percent
/// escapes and the given additional characters (RFC 3986, sections 2 and 3).
bool hasOnlyUrlCharacters(std::string_view text, std::string_view additional) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (character == '%') {
      if (!hasPercentEscapeAt(text, at)) return false;
      at += 2;
    } else if (!isAsciiAlphanumeric(character) && !isOneOf(character, unreserved) &&
               !isOneOf(character, subDelimiters) && !isOneOf(character, additional)) {
      return false;
    }
  }
  return true;
}

/// Returns the decoded text of a valid component, or the empty text when its bytes are
/// not UTF-8.
std::string decodedComponent(std::string_view text) {
  const auto decoded = percentDecoded(text);
  return decoded && isUtf8(*decoded) ? *decoded : std::string();
}

bool isScheme(std::string_view text) {
  return !text.empty() && isAsciiLetter(text.front()) &&
         std::all_of(text.begin(), text.end(), [](char character) {
           return isAsciiAlphanumeric(character) || isOneOf(character, "+-.");
         });
}

/// Returns whether a text is an IP literal without its brackets (RFC 3986, section 3.2.2): an
/// IPv6 address, which may have a zone (RFC 6874), or the form "v1.text" for later versions.
bool isIpLiteral(std::string_view text) {
  if (text.empty() || !hasOnlyUrlCharacters(text, ":")) return false;
  if (text.front() == 'v' || text.front() == 'V') {
    const auto dot = text.find('.');
    return dot != std::string_view::npos && dot > 1 && dot + 1 < text.size() &&
           std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(dot),
                       isHexDigit) &&
           text.find('%') == std::string_view::npos;
  }
  // A zone follows "%25", the percent escape of "%".
  constexpr std::string_view delimiter = "%25";
  const auto end = text.find(delimiter);
  if (end != std::string_view::npos && end + delimiter.size() == text.size()) return false;
  in6_addr ignored;
  return inet_pton(AF_INET6, std::string(text.substr(0, end)).c_str(), &ignored) == 1;
}

/// Reads host and port of an authority into the URL. Returns false when the authority is
/// malformed.
bool readAuthority(std::string_view authority, Url &url) {
  const auto at = authority.find('@');
  if (at != std::string_view::npos) {
    if (!hasOnlyUrlCharacters(authority.substr(0, at), ":")) return false;
    authority.remove_prefix(at + 1);
  }

  std::string_view name;
  // Empty, or a colon and zero or more digits.
  std::string_view port;
  if (authority.starts_with('[')) {
    const auto end = authority.find(']');
    if (end == std::string_view::npos) return false;
    name = authority.substr(1, end - 1);
    port = authority.substr(end + 1);
    if (!isIpLiteral(name)) return false;
  } else {
    name = authority.substr(0, authority.find(':'));
    port = authority.substr(name.size());
    if (!hasOnlyUrlCharacters(name, "")) return false;
  }

  if (!port.empty() &&
      (port.front() != ':' || !std::all_of(port.begin() + 1, port.end(), isAsciiDigit))) {
    return false;
  }
  url.host = decodedComponent(name);
  // A number that is empty or does not fit into an int leaves the port absent (base/url.h).
  int number = 0;
  const char *end = port.data() + port.size();
  if (!port.empty() && std::from_chars(port.data() + 1, end, number).ec == std::errc()) {
    url.port = number;
  }
  return true;
}

}  // namespace

std::optional<Url> Url::parse(std::string_view text) {
  if (text.empty()) return std::nullopt;
  Url url;
  url.absoluteString = text;

  const auto fragment = text.find('#');
  if (fragment != std::string_view::npos) {
    if (!hasOnlyUrlCharacters(text.substr(fragment + 1), ":@/?")) return std::nullopt;
    text = text.substr(0, fragment);
  }
  const auto query = text.find('?');
  if (query != std::string_view::npos) {
    if (!hasOnlyUrlCharacters(text.substr(query + 1), ":@/?")) return std::nullopt;
    text = text.substr(0, query);
  }

  // A colon in the first segment ends the scheme (RFC 3986, section 4.2).
  const auto colon = text.substr(0, text.find('/')).find(':');
  if (colon != std::string_view::npos) {
    url.scheme = text.substr(0, colon);
    if (!isScheme(url.scheme)) return std::nullopt;
    text.remove_prefix(colon + 1);
  }

  bool hasAuthority = false;
  if (text.starts_with("//")) {
    hasAuthority = true;
    text.remove_prefix(2);
    const auto authority = text.substr(0, text.find('/'));
    if (!readAuthority(authority, url)) return std::nullopt;
    text.remove_prefix(authority.size());
  }

  if (!hasOnlyUrlCharacters(text, ":@/")) return std::nullopt;
  // A URL such as "mailto:a@b" is opaque: it has no path.
  if (!url.scheme.empty() && !hasAuthority && !text.starts_with('/')) return url;
  url.path = decodedComponent(text);
  // Like Foundation's URL.path.
  while (url.path.size() > 1 && url.path.ends_with('/')) url.path.pop_back();
  return url;
}

}  // namespace orvel
