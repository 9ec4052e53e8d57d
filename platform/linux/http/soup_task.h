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

/// One libsoup request. Used on the request thread of the SoupHttpSession only; must live from
/// its start until its `Ended` callback is called.
class SoupTask {
 public:
  /// Called with the task when its outcome is known.
  using Ended = std::function<void(const SoupTask &)>;

  /// The sink must live until the `Ended` callback is called.
  SoupTask(const UrlRequest &request, BodySink &sink);
  SoupTask(const SoupTask &) = delete;
  SoupTask &operator=(const SoupTask &) = delete;

  /// Sends the request. Calls `ended` exactly once, never inside this call; `ended` may
  /// destroy the task.
  void start(SoupSession *session, Ended ended);
  /// Makes the request fail. Its `Ended` callback is called later.
  void cancel();

  // The outcome, valid after the request has ended.
  /// Returns the response, or nullopt when no complete head of a final response arrived.
  std::optional<HttpResponse> response() const;
  /// Returns whether the sink has the complete body.
  bool hasWholeBody() const { return hasWholeBody_; }
  /// Returns the file name for the body, or nullopt when there is no response.
  std::optional<std::string> suggestedFilename() const;

 private:
  struct UriRelease {
    void operator()(GUri *uri) const { g_uri_unref(uri); }
  };
  using Source = std::unique_ptr<GSource, void (*)(GSource *)>;

  /// Returns the message to send, or null when HTTP cannot express the request or the sink is not
  /// ready.
  GObjectPointer<SoupMessage> makeMessage() const;
  void timedOut();
  void connected(GIOStream *connection);
  void redirected();
  void restartTimeout();
  void headArrived(SoupSession *session, GAsyncResult *result);
  /// Prepares the stream to decode a body that the server compressed although the request asked
  /// for "identity". Returns false for an unknown coding.
  bool prepareDecoding();
  void readMore();
  void bodyArrived(GAsyncResult *result);
  /// Handles the result of a read: the number of bytes, 0 at the end of the body, negative
  /// after an error. Returns false when the request has ended; the task may then be
  /// destroyed.
  bool handleRead(gssize size);
  /// Returns whether a body that libsoup has read without an error is complete.
  bool isBodyComplete();
  void finish(bool hasWholeBody);

  const UrlRequest request_;
  BodySink &sink_;
  Ended ended_;
  const GObjectPointer<SoupMessage> message_;
  const GObjectPointer<GCancellable> cancellable_;
  /// The socket of the latest connection.
  GObjectPointer<GSocket> socket_;
  GObjectPointer<GInputStream> stream_;
  /// The buffer for reads of the body.
  std::unique_ptr<char[]> block_;
  bool hasHead_ = false;
  bool hasWholeBody_ = false;
  bool isDecoded_ = false;
  goffset received_ = 0;
  /// Fires when no data has arrived for the request's timeout, or at once when the request cannot
  /// be sent.
  Source timeoutSource_;
  /// Fires when bytes arrive at the socket, and restarts the timeout: while a head arrives, libsoup
  /// reports nothing until it is complete.
  Source arrivalSource_;
  SignalConnection networkEvent_;
  /// libsoup emits "restarted" before it sends the message again, as for a redirect.
  SignalConnection restarted_;
};

}  // namespace orvel
