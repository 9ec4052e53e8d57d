#pragma once

#include <dispatch/dispatch.h>

#include "platform/http_session.h"

namespace orvel {

/// HTTP requests by NSURLSession.sharedSession. Requests neither send nor store the session's
/// cookies: a Cookie field is sent as the caller sets it. Any thread.
///
/// Completions of data tasks run on the session's delegate queue, which is serial. Completions
/// of download tasks run on a serial queue of their own, in the order in which the downloads
/// finished: moving a file to the Downloads folder blocks while macOS asks the user for
/// permission, and other requests must not wait for the answer.
class SharedUrlSession final : public HttpSession {
 public:
  SharedUrlSession();

  void dataTask(const UrlRequest &request, DataCompletion completion) override;
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override;

 private:
  const dispatch_queue_t downloadCompletionQueue_;
};

}  // namespace orvel
