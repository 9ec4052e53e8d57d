#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/url.h"

namespace orvel {

enum class CachePolicy { useProtocol, reloadIgnoringLocalData };

/// A GET request. A plain value.
struct UrlRequest {
  Url url;
  CachePolicy cachePolicy = CachePolicy::useProtocol;
  /// How long the server may send nothing before the request fails.
  std::chrono::milliseconds timeout{std::chrono::seconds(60)};
  /// Header fields in the order in which they are sent.
  std::vector<std::pair<std::string, std::string>> headers;

  /// Sets a header field, replacing one of the same name (names compare
  /// without case, RFC 9110).
  void setHeader(std::string_view name, std::string_view value);
  /// The value of a header field, or nothing.
  std::optional<std::string> header(std::string_view name) const;
};

/// The head of an HTTP answer.
struct HttpResponse {
  int statusCode = 0;
};

/// What became of a data task: the response, absent when none came, was cut
/// off or was not HTTP; and the whole body, absent together with the response.
using DataCompletion = std::function<void(std::optional<HttpResponse>, std::optional<std::string>)>;

/// The session that sends the application's own requests, those that do not
/// come from the page.
class HttpSession {
 public:
  virtual ~HttpSession() = default;

  /// Starts a request and returns at once. The completion is called exactly
  /// once, on a thread of the session and never on the main thread. Redirects
  /// are followed; the fields of the request go along only to the same origin
  /// (scheme, host and port), so that no other host learns the app key. Every
  /// failure shows as an absent response. Any thread.
  virtual void dataTask(const UrlRequest &request, DataCompletion completion) = 0;
};

}  // namespace orvel
