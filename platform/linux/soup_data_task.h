#pragma once

#include <libsoup/soup.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/http_session.h"
#include "platform/linux/gobject_pointer.h"

namespace orvel {

/// One request on its way through libsoup. Lives on the session's thread, from
/// its start until it has told its end.
class SoupDataTask {
 public:
  explicit SoupDataTask(const UrlRequest &request);
  ~SoupDataTask();
  SoupDataTask(const SoupDataTask &) = delete;
  SoupDataTask &operator=(const SoupDataTask &) = delete;

  /// Sends the request. The end is told exactly once, never inside this call;
  /// the task may be destroyed then.
  void start(SoupSession *session, DataCompletion ended);
  /// Makes the request fail soon.
  void cancel();

 private:
  struct UriRelease {
    void operator()(GUri *uri) const { g_uri_unref(uri); }
  };
  using Source = std::unique_ptr<GSource, void (*)(GSource *)>;

  /// Null for a request that HTTP has no spelling for.
  GObjectPointer<SoupMessage> makeMessage() const;
  void silent();
  void connected(GIOStream *connection);
  void redirected();
  void dataArrived();
  void answered(SoupSession *session, GAsyncResult *result);
  void readMore();
  void bodyArrived(GAsyncResult *result);
  bool bodyIsWhole();
  void finish(std::optional<HttpResponse> response, std::optional<std::string> body);

  const UrlRequest request_;
  DataCompletion ended_;
  const GObjectPointer<SoupMessage> message_;
  const std::unique_ptr<GUri, UriRelease> origin_;
  const GObjectPointer<GCancellable> cancellable_;
  /// The connection that was made last.
  GObjectPointer<GSocket> socket_;
  GObjectPointer<GInputStream> stream_;
  std::string body_;
  /// Due when the server has sent nothing for the request's time-out.
  Source silence_;
  /// Tells bytes of the answer's head, of which libsoup tells only the end.
  Source arrival_;
};

}  // namespace orvel
