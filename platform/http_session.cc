#include "platform/http_session.h"

#include <algorithm>

namespace orvel {

namespace {

char lowerCase(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                              : character;
}

bool sameName(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

}  // namespace

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
