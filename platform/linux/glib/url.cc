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

constexpr std::string_view unreserved = "-._~";
constexpr std::string_view subDelimiters = "!$&'()*+,;=";

bool isOneOf(char character, std::string_view characters) {
  return characters.find(character) != std::string_view::npos;
}

/// Returns whether a text consists of unreserved characters, sub-delimiters, complete percent
/// escapes and the given additional characters (RFC 3986, sections 2 and 3).
bool consistsOf(std::string_view text, std::string_view additional) {
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

/// Returns whether a text is an IP literal without its brackets (RFC 3986, section 3.2.2). It may
/// have a zone (RFC 6874).
bool isAddressLiteral(std::string_view text) {
  if (text.empty() || !consistsOf(text, ":")) return false;
  if (text.front() == 'v' || text.front() == 'V') {
    const auto dot = text.find('.');
    return dot != std::string_view::npos && dot > 1 && dot + 1 < text.size() &&
           std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(dot),
                       isHexDigit) &&
           !isOneOf('%', text);
  }
  const auto zone = text.find("%25");
  if (zone != std::string_view::npos && zone + 3 == text.size()) return false;
  in6_addr ignored;
  return inet_pton(AF_INET6, std::string(text.substr(0, zone)).c_str(), &ignored) == 1;
}

/// Reads host and port of an authority into the URL. Returns false when the authority is
/// malformed.
bool readAuthority(std::string_view authority, Url &url) {
  const auto at = authority.find('@');
  if (at != std::string_view::npos) {
    if (!consistsOf(authority.substr(0, at), ":")) return false;
    authority.remove_prefix(at + 1);
  }

  std::string_view name;
  std::string_view rest;
  if (authority.starts_with('[')) {
    const auto end = authority.find(']');
    if (end == std::string_view::npos) return false;
    name = authority.substr(1, end - 1);
    rest = authority.substr(end + 1);
    if (!isAddressLiteral(name)) return false;
  } else {
    name = authority.substr(0, authority.find(':'));
    rest = authority.substr(name.size());
    if (!consistsOf(name, "")) return false;
  }

  if (!rest.empty() &&
      (rest.front() != ':' || !std::all_of(rest.begin() + 1, rest.end(), isAsciiDigit))) {
    return false;
  }
  url.host = decodedComponent(name);
  int port = 0;
  const char *end = rest.data() + rest.size();
  if (!rest.empty() && std::from_chars(rest.data() + 1, end, port).ec == std::errc()) {
    url.port = port;
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
    if (!consistsOf(text.substr(fragment + 1), ":@/?")) return std::nullopt;
    text = text.substr(0, fragment);
  }
  const auto query = text.find('?');
  if (query != std::string_view::npos) {
    if (!consistsOf(text.substr(query + 1), ":@/?")) return std::nullopt;
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

  if (!consistsOf(text, ":@/")) return std::nullopt;
  // A URL such as "mailto:a@b" is opaque: it has no path.
  if (!url.scheme.empty() && !hasAuthority && !text.starts_with('/')) return url;
  url.path = decodedComponent(text);
  while (url.path.size() > 1 && url.path.ends_with('/')) url.path.pop_back();
  return url;
}

}  // namespace orvel
