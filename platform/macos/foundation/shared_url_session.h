#pragma once

#include "platform/http_session.h"

namespace orvel {

/// The shared URL session. Its completions come one at a time, on the session's
/// own queue. It keeps no cookies of these requests: each carries the fields
/// that it was given and no others of that kind.
class SharedUrlSession final : public HttpSession {
 public:
  void dataTask(const UrlRequest &request, DataCompletion completion) override;
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override;
};

}  // namespace orvel
