#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/url_request.h"

namespace orvel {

/// The head of an HTTP response.
struct HttpResponse {
  int statusCode = 0;
};

/// The outcome of a data task. Either part may be present without the other.
struct DataReply {
  /// The head of the response after all redirects, present even if its body failed. Absent when
  /// no head arrived or the response is not HTTP (macOS: a file: or data: URL).
  std::optional<HttpResponse> response{};
  /// The whole body. Absent when it is truncated, timed out, has an unknown content encoding
  /// or exceeds the platform's limit (Linux: 64 MiB).
  std::optional<std::string> body{};
};

/// The outcome of a download task. Each part may be present without the others.
struct Download {
  /// The path of a file that holds the whole body. Absent when the body failed as in
  /// `DataReply` or could not be written. No size limit applies. The file is removed when the
  /// completion returns, unless `moveFile` has moved it.
  std::optional<std::string> file{};
  /// The head of the final response, as in `DataReply`.
  std::optional<HttpResponse> response{};
  /// A file name for the body: the one in Content-Disposition (RFC 6266), else the
  /// last path component of the final URL, else its host. A name without an extension
  /// gets one for the media type. Absent when there is no such name. The server
  /// chooses the name, so it may hold any character.
  std::optional<std::string> suggestedFilename{};
};

using DataCompletion = std::function<void(const DataReply &)>;
using DownloadCompletion = std::function<void(const Download &)>;

/// The session for the application's own requests. The page's requests use the web view's
/// session.
class HttpSession {
 public:
  virtual ~HttpSession() = default;

  /// Starts a request and returns at once. Calls the completion exactly once, on a
  /// thread of the session and never on the main thread. Follows redirects.
  /// `request.forwardsHeaders` decides whether a redirect gets the header fields; once withheld,
  /// they are not sent again. A failure leaves a part of the reply absent. Any thread.
  virtual void dataTask(const UrlRequest &request, DataCompletion completion) = 0;
  /// Like dataTask, but writes the body to a file, whatever the HTTP status is. Any thread.
  virtual void downloadTask(const UrlRequest &request, DownloadCompletion completion) = 0;
};

}  // namespace orvel
