#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <optional>
#include <set>
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

/// An HTTP session of libsoup with two threads: one for the requests, one that calls the
/// completions one at a time. A completion may take long, for example to unpack a release,
/// and would let other requests time out on the first thread. The session has no cookies and
/// no cache. Every request has its own connection and asks for an uncompressed body. In
/// addition to the contract of HttpSession:
/// - A field that is set for the first server is not set again when a redirect
///   through another origin leads back to it. At most 20 redirects are followed.
/// - The body of a data task may have at most 64 MiB.
/// - A request that HTTP cannot express is not sent: a scheme other than http and
///   https, a field name that is not a token, or a field value that contains CR, LF or
///   NUL (RFC 9110, 5.5).
/// - Loopback addresses are never reached through a proxy.
class SoupHttpSession final : public HttpSession {
 public:
  /// Downloads are written to the first of the folders where that is possible.
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

  void run();
  void start(const UrlRequest &request, BodySink &sink,
             std::function<void(const SoupTask &)> ended);
  /// Calls a completion on the completion thread.
  void complete(std::function<void()> completion);

  const std::vector<std::string> downloadFolders_;
  const std::unique_ptr<GMainContext, ContextRelease> context_;
  GlibMainQueue queue_;
  SerialQueue completions_;

  // The members below belong to the session's thread.
  bool stopping_ = false;
  /// Requests whose completion has not returned yet.
  int unfinished_ = 0;
  SoupSessions *sessions_ = nullptr;
  std::set<std::unique_ptr<SoupTask>> tasks_;

  std::thread thread_;
};

}  // namespace orvel
