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

/// HTTP requests by libsoup, on a thread of their own. A second thread calls the
/// completions one at a time: an installation unpacks a release in a completion, and on
/// the first thread that would let other requests time out. Keeps no cookies and no
/// cache. Every request has its own connection and asks for an uncompressed body. In
/// addition to the port's contract:
/// - A field that is set for the first server is not set again when a redirect
///   through another origin leads back to it. At most 20 redirects are followed.
/// - The body of a data task may have at most 64 MiB.
/// - A request that HTTP cannot express is not sent: a scheme other than http and
///   https, a field name that is not a token, or a field value that contains CR, LF or
///   NUL (RFC 9110, 5.5).
/// - This machine's own addresses are never reached through a proxy.
class SoupHttpSession final : public HttpSession {
 public:
  /// Downloads are written in the first of the folders in which that is possible.
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

  // What follows belongs to the session's thread.
  bool stopping_ = false;
  /// Requests whose completion has not returned yet.
  int unfinished_ = 0;
  SoupSessions *sessions_ = nullptr;
  std::set<std::unique_ptr<SoupTask>> tasks_;

  std::thread thread_;
};

}  // namespace orvel
