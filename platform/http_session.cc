#include "platform/http_session.h"

#include <algorithm>

namespace orvel {

namespace {

char lowerCase(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                              : character;
}

/// Compares ASCII without case.
bool sameName(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

bool isHttps(const Url &url) { return sameName(url.scheme, "https"); }

/// As text: the usual one of its scheme when the URL names none.
std::string_view portOf(const Url &url) {
  std::string_view authority = url.absoluteString;
  authority.remove_prefix(std::min(authority.size(), url.scheme.size() + 3));
  authority = authority.substr(0, authority.find_first_of("/?#"));
  const auto before = authority.find_last_not_of("0123456789");
  if (before != std::string_view::npos && authority[before] == ':' &&
      before + 1 < authority.size()) {
    return authority.substr(before + 1);
  }
  return isHttps(url) ? "443" : "80";
}

}  // namespace

bool fieldsGoAlong(const Url &from, const Url &to) {
  if (!sameName(from.host, to.host)) return false;
  if (sameName(from.scheme, to.scheme)) return portOf(from) == portOf(to);
  return sameName(from.scheme, "http") && isHttps(to) && portOf(from) == "80" &&
         portOf(to) == "443";
}

void UrlRequest::setHeader(std::string_view name, std::string_view value) {
  const auto hasName = [name](const auto &field) { return sameName(field.first, name); };
  const auto first = std::find_if(headers.begin(), headers.end(), hasName);
  if (first == headers.end()) {
    headers.emplace_back(name, value);
    return;
  }
  *first = {std::string(name), std::string(value)};
  headers.erase(std::remove_if(first + 1, headers.end(), hasName), headers.end());
}

std::optional<std::string> UrlRequest::header(std::string_view name) const {
  for (const auto &[field, value] : headers) {
    if (sameName(field, name)) return value;
  }
  return std::nullopt;
}

}  // namespace orvel
