#include "base/url_request.h"

#include <algorithm>

#include "base/ascii.h"

namespace orvel {

void UrlRequest::setHeader(std::string_view name, std::string_view value) {
  const auto hasName = [name](const auto &field) {
    return equalIgnoringAsciiCase(field.first, name);
  };
  const auto first = std::find_if(headers.begin(), headers.end(), hasName);
  if (first == headers.end()) {
    headers.emplace_back(name, value);
    return;
  }
  *first = {std::string(name), std::string(value)};
  headers.erase(std::remove_if(first + 1, headers.end(), hasName), headers.end());
}

std::optional<std::string> UrlRequest::header(std::string_view name) const {
  for (const auto &[fieldName, value] : headers) {
    if (equalIgnoringAsciiCase(fieldName, name)) return value;
  }
  return std::nullopt;
}

}  // namespace orvel
