#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/url.h"

namespace orvel {

/// Whether the local cache may answer a request: by the rules of HTTP, or never.
enum class CachePolicy { useProtocol, reloadIgnoringLocalData };

/// A GET request. A plain value.
struct UrlRequest {
  Url url;
  CachePolicy cachePolicy = CachePolicy::useProtocol;
  /// The longest time without data from the server before the request fails.
  std::chrono::milliseconds timeout{std::chrono::seconds(60)};
  /// Header fields in the order in which they are sent.
  std::vector<std::pair<std::string, std::string>> headers;
  /// Returns whether a redirect gets the header fields, given the URL of the request
  /// and that of the redirect. Null: no redirect gets them. Called on a thread of the
  /// HttpSession that sends the request.
  bool (*forwardsHeaders)(const Url &from, const Url &to) = nullptr;

  /// Sets a header field in place of all fields with that name. Names are
  /// case-insensitive (RFC 9110, 5.1).
  void setHeader(std::string_view name, std::string_view value);
  /// Returns the value of a header field, or nullopt when there is no such field.
  std::optional<std::string> header(std::string_view name) const;
};

}  // namespace orvel
