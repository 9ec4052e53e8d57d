#pragma once

#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <optional>

#include "platform/http_session.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/glib/signal_connection.h"
#include "platform/linux/http/body_sink.h"

namespace orvel {

/// One libsoup request. Lives on the session's thread, from its start until `Ended` has
/// been called.
class SoupTask {
 public:
  using Ended = std::function<void(const SoupTask &)>;

  /// The sink must live until `Ended` is called.
  SoupTask(const UrlRequest &request, BodySink &sink);
  SoupTask(const SoupTask &) = delete;
  SoupTask &operator=(const SoupTask &) = delete;

  /// Sends the request. Calls `ended` exactly once, never inside this call; `ended` may
  /// destroy the task.
  void start(SoupSession *session, Ended ended);
  /// Makes the request fail soon.
  void cancel();

  // The outcome, once the request has ended.
  /// Absent when no head of a final response arrived.
  std::optional<HttpResponse> response() const;
  /// Whether the sink has the whole body.
  bool hasWholeBody() const { return hasWholeBody_; }
  /// The file name for the body, or nullopt when there is no response.
  std::optional<std::string> suggestedFilename() const;

 private:
  struct UriRelease {
    void operator()(GUri *uri) const { g_uri_unref(uri); }
  };
  using Source = std::unique_ptr<GSource, void (*)(GSource *)>;

  /// Null for a request that HTTP has no spelling for, or whose answer could not
  /// be kept.
  GObjectPointer<SoupMessage> makeMessage() const;
  void timedOut();
  void connected(GIOStream *connection);
  void redirected();
  void dataArrived();
  void headArrived(SoupSession *session, GAsyncResult *result);
  /// Undoes a compression that nobody asked for; false for one that is not known.
  bool decode();
  void readMore();
  void bodyArrived(GAsyncResult *result);
  /// Passes on what a read has brought, in bytes: 0 at the end, less when it has
  /// failed. False when that was the last of it and the task has gone.
  bool take(gssize size);
  bool bodyIsWhole();
  void finish(bool hasWholeBody);

  const UrlRequest request_;
  BodySink &sink_;
  Ended ended_;
  const GObjectPointer<SoupMessage> message_;
  const GObjectPointer<GCancellable> cancellable_;
  /// The connection that was made last.
  GObjectPointer<GSocket> socket_;
  GObjectPointer<GInputStream> stream_;
  /// What is read of the body goes through this.
  std::unique_ptr<char[]> block_;
  bool hasHead_ = false;
  bool hasWholeBody_ = false;
  bool isDecoded_ = false;
  goffset received_ = 0;
  /// Due when the server has sent nothing for the request's timeout.
  Source timeout_;
  /// Tells bytes of the answer's head, of which libsoup tells only the end.
  Source arrival_;
  SignalConnection networkEvent_;
  SignalConnection restarted_;
};

}  // namespace orvel
