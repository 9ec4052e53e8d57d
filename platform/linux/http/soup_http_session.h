#pragma once

#include <glib.h>

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/http_session.h"
#include "platform/linux/glib/glib_main_queue.h"
#include "platform/linux/glib/serial_queue.h"

namespace orvel {

class BodySink;
class SoupTask;
struct SoupSessions;

/// An HTTP session of libsoup with two threads: the request thread, and the completion thread,
/// which calls the completions one at a time. A completion may take long, for example to unpack
/// a release. On the request thread it would block other requests until they time out. The
/// session has no cookies and no cache. Every request has its own connection and asks for an
/// uncompressed body. In addition to the contract of HttpSession:
/// - libsoup follows at most 20 redirects.
/// - The body of a data task may have at most 64 MiB.
/// - A request that HTTP cannot express is not sent: a scheme other than http and
///   https, a field name that is not a token, or a field value that contains CR, LF or
///   NUL (RFC 9110, 5.5).
/// - A request to a loopback address uses no proxy, nor do its redirects.
class SoupHttpSession final : public HttpSession {
 public:
  /// Downloads are written to the first of the folders where that is possible, else they fail.
  explicit SoupHttpSession(std::vector<std::string> downloadFolders = {});
  /// Cancels the running requests, calls the outstanding completions and waits for them.
  /// Must not run on one of the session's own threads.
  ~SoupHttpSession() override;
  SoupHttpSession(const SoupHttpSession &) = delete;
  SoupHttpSession &operator=(const SoupHttpSession &) = delete;

  void dataTask(const UrlRequest &request, DataCompletion completion) override;
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override;

 private:
  struct ContextRelease {
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
  };

  /// Runs the request thread.
  void run();
  /// Sends a request. Calls `ended` when the request has ended; the sink must live until then.
  /// Request thread only, also for `ended`.
  void start(const UrlRequest &request, BodySink &sink,
             std::function<void(const SoupTask &)> ended);
  /// Calls a completion on the completion thread.
  void complete(std::function<void()> completion);

  const std::vector<std::string> downloadFolders_;
  /// The main context that the request thread iterates.
  const std::unique_ptr<GMainContext, ContextRelease> context_;
  /// Work for the request thread.
  GlibMainQueue queue_;
  /// Work for the completion thread.
  SerialQueue completions_;

  // The members from here to `tasks_` are used on the request thread only.
  bool stopping_ = false;
  /// Requests whose completion has not returned yet.
  int unfinished_ = 0;
  /// Points to a local variable of run(), because libsoup sessions must be destroyed on the request
  /// thread.
  SoupSessions *sessions_ = nullptr;
  std::list<SoupTask> tasks_;

  /// The request thread.
  std::thread thread_;
};

}  // namespace orvel
