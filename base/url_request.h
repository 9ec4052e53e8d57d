#pragma once

#include <chrono>
#include <map>
#include <string>

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
  /// Header fields: values by name.
  std::map<std::string, std::string> headers;
  /// Returns whether a redirect gets the header fields, given the URL of the request
  /// and that of the redirect. Null: no redirect gets them. Called on a thread of the
  /// HttpSession that sends the request.
  bool (*forwardsHeaders)(const Url &from, const Url &to) = nullptr;
};

}  // namespace orvel
