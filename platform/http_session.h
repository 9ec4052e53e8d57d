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
  /// Whether the header fields follow a redirect, given the URL of the request and
  /// that of the redirect. Null: they never do. Called on a thread of the session.
  bool (*forwardsHeaders)(const Url &from, const Url &to) = nullptr;

  /// Sets a header field, replacing one of the same name (names compare
  /// without case, RFC 9110).
  void setHeader(std::string_view name, std::string_view value);
  /// The value of a header field, or nothing.
  std::optional<std::string> header(std::string_view name) const;
};

/// The head of an HTTP response.
struct HttpResponse {
  int statusCode = 0;
};

/// The outcome of a data task. Either part may be present without the other.
struct DataReply {
  /// The head of the final response, present even if its body failed. Absent when
  /// no head arrived or the response is not HTTP.
  std::optional<HttpResponse> response{};
  /// The whole body. Absent when it was truncated, timed out, is too large or has
  /// an unknown encoding.
  std::optional<std::string> body{};
};

/// The outcome of a download task. Each part may be present without the others.
struct Download {
  /// The path of a file that holds the whole body. Absent when the body failed as
  /// above or could not be written. The file is removed when the completion has
  /// returned, unless `moveFile` has taken it.
  std::optional<std::string> file{};
  /// The head of the final response, as above.
  std::optional<HttpResponse> response{};
  /// The name that the body would have as a file: that of Content-Disposition
  /// (RFC 6266), else the last path component of the final address, else its
  /// host, with an extension for its media type when it has none. Absent when
  /// there is no such name. As the server wrote it, so it may hold any character.
  std::optional<std::string> suggestedFilename{};
};

using DataCompletion = std::function<void(const DataReply &)>;
using DownloadCompletion = std::function<void(const Download &)>;

/// The session that sends the application's own requests, those that do not
/// come from the page.
class HttpSession {
 public:
  virtual ~HttpSession() = default;

  /// Starts a request and returns at once. The completion is called exactly
  /// once, on a thread of the session and never on the main thread. Redirects
  /// are followed; the header fields follow them as `forwardsHeaders` tells, and
  /// once withheld they are not sent again.
  /// Every failure shows as an absent part of the reply. Any thread.
  virtual void dataTask(const UrlRequest &request, DataCompletion completion) = 0;
  /// Like a data task, but the body goes to a file, of any size, whatever the
  /// status. A body that cannot be written is a failure.
  virtual void downloadTask(const UrlRequest &request, DownloadCompletion completion) = 0;
};

}  // namespace orvel
