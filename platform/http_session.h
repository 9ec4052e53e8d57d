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

/// Whether a server that was asked for one URL may send the request's fields
/// along to another: to its own origin (scheme, host and port), or from http to
/// https of its host, both at their usual ports. So no other host learns the app
/// key. Any thread.
bool fieldsGoAlong(const Url &from, const Url &to);

/// The head of an HTTP answer.
struct HttpResponse {
  int statusCode = 0;
  /// The name that the body would have as a file: that of Content-Disposition
  /// (RFC 6266), else the last path component of the final address, else its
  /// host, with an extension for its media type when it has none. Nothing when
  /// there is no such name. Filled for download tasks; as the server wrote it,
  /// so it may hold any character.
  std::optional<std::string> suggestedFilename{};
};

/// What became of a data task: the response, absent when none came, was cut
/// off or was not HTTP; and the whole body, absent together with the response.
using DataCompletion = std::function<void(std::optional<HttpResponse>, std::optional<std::string>)>;

/// What became of a download task: the path of a file that holds the whole
/// body, and the response. Both are absent when there is no answer or it was
/// cut off. The file is gone when the completion has returned, unless
/// `moveFile` has taken it.
using DownloadCompletion =
    std::function<void(std::optional<std::string>, std::optional<HttpResponse>)>;

/// The session that sends the application's own requests, those that do not
/// come from the page.
class HttpSession {
 public:
  virtual ~HttpSession() = default;

  /// Starts a request and returns at once. The completion is called exactly
  /// once, on a thread of the session and never on the main thread. Redirects
  /// are followed; the fields of the request go along as `fieldsGoAlong` tells.
  /// Every failure shows as an absent response. Any thread.
  virtual void dataTask(const UrlRequest &request, DataCompletion completion) = 0;
  /// Like a data task, but the body goes to a file, of any size, whatever the
  /// status. A body that cannot be written is a failure.
  virtual void downloadTask(const UrlRequest &request, DownloadCompletion completion) = 0;
};

}  // namespace orvel
