#pragma once

#include "platform/http_session.h"

namespace orvel {

/// HTTP requests by NSURLSession.sharedSession. Completions run one at a time, on the
/// session's delegate queue. Requests neither send nor store the session's cookies: a Cookie
/// field is sent as the caller sets it. Any thread.
class SharedUrlSession final : public HttpSession {
 public:
  void dataTask(const UrlRequest &request, DataCompletion completion) override;
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override;
};

}  // namespace orvel
