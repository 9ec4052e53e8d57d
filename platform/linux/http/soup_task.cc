#include "platform/linux/http/soup_task.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

#include "base/percent_encoding.h"
#include "platform/linux/glib/glib_text.h"
#include "platform/linux/glib/http_token.h"
#include "platform/linux/http/suggested_filename.h"

namespace orvel {

namespace {

/// The size of a read, in bytes.
constexpr gsize blockSize = 262'144;
// Bounds synchronous reads, so that other requests are not starved.
constexpr int maxReadsPerTurn = 16;

void release(GSource *source) {
  g_source_destroy(source);
  g_source_unref(source);
}

/// Returns whether the name of a field is a token, and its value has no CR, LF or NUL (RFC 9110,
/// section 5.5).
bool isSendable(const std::pair<const std::string, std::string> &field) {
  const auto &[name, value] = field;
  return isHttpToken(name) &&
         value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

/// Returns whether a URI has the scheme http or https and a host.
bool isHttpUri(GUri *uri) {
  if (uri == nullptr) return false;
  const std::string_view scheme = g_uri_get_scheme(uri);
  const char *host = g_uri_get_host(uri);
  return (scheme == "http" || scheme == "https") && host != nullptr && *host != '\0';
}

bool canPoll(GInputStream *stream) {
  return G_IS_POLLABLE_INPUT_STREAM(stream) &&
         g_pollable_input_stream_can_poll(G_POLLABLE_INPUT_STREAM(stream)) != FALSE;
}

std::string addressOf(SoupMessage *message) {
  const GlibText address(g_uri_to_string(soup_message_get_uri(message)));
  return address.get();
}

}  // namespace

SoupTask::SoupTask(const UrlRequest &request, BodySink &sink)
    : request_(request),
      sink_(sink),
      message_(makeMessage()),
      cancellable_(adopt(g_cancellable_new())),
      timeoutSource_(g_timeout_source_new(0), release),
      arrivalSource_(nullptr, release) {}

void SoupTask::start(SoupSession *session, Ended ended) {
  ended_ = std::move(ended);
  // Lower priority than the sockets: if this thread was blocked for longer than the
  // timeout, for example by a slow disk, bytes that have arrived restart the timeout first.
  g_source_set_priority(timeoutSource_.get(), G_PRIORITY_DEFAULT + 1);
  g_source_set_callback(
      timeoutSource_.get(),
      [](gpointer self) -> gboolean {
        static_cast<SoupTask *>(self)->timedOut();
        return G_SOURCE_REMOVE;
      },
      this, nullptr);
  g_source_attach(timeoutSource_.get(), g_main_context_get_thread_default());
  // timeoutSource_ is due at once and fails the request from the event loop, because this call must
  // not call `ended`.
  if (!message_) return;

  restartTimeout();
  networkEvent_ = SignalConnection(
      message_.get(), "network-event", this,
      +[](SoupTask *self, GSocketClientEvent event, GIOStream *connection) {
        if (event == G_SOCKET_CLIENT_CONNECTED) self->connected(connection);
      });
  restarted_ = SignalConnection(
      message_.get(), "restarted", this, +[](SoupTask *self) { self->redirected(); });
  soup_session_send_async(
      session, message_.get(), G_PRIORITY_DEFAULT, cancellable_.get(),
      [](GObject *source, GAsyncResult *result, gpointer self) {
        static_cast<SoupTask *>(self)->headArrived(SOUP_SESSION(source), result);
      },
      this);
}

void SoupTask::cancel() { g_cancellable_cancel(cancellable_.get()); }

GObjectPointer<SoupMessage> SoupTask::makeMessage() const {
  const auto &[url, cachePolicy, timeout, headers, forwardsHeaders] = request_;
  if (!sink_.isReady()) return {};
  if (!std::all_of(headers.begin(), headers.end(), isSendable)) return {};
  const std::unique_ptr<GUri, UriRelease> uri(g_uri_parse(
      url.absoluteString.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr));
  if (!isHttpUri(uri.get())) return {};

  auto message = adopt(soup_message_new_from_uri(SOUP_METHOD_GET, uri.get()));
  soup_message_add_flags(message.get(), SOUP_MESSAGE_NEW_CONNECTION);
  SoupMessageHeaders *fields = soup_message_get_request_headers(message.get());
  soup_message_headers_append(fields, "Accept-Encoding", "identity");
  soup_message_headers_append(fields, "Connection", "close");
  for (const auto &[name, value] : headers) {
    soup_message_headers_replace(fields, name.c_str(), value.c_str());
  }
  if (cachePolicy == CachePolicy::reloadIgnoringLocalData) {
    soup_message_headers_replace(fields, "Cache-Control", "no-cache");
    soup_message_headers_replace(fields, "Pragma", "no-cache");
  }
  return message;
}

void SoupTask::timedOut() {
  if (message_) {
    cancel();
  } else {
    // The request was not sent.
    finish(false);
  }
}

void SoupTask::connected(GIOStream *connection) {
  arrivalSource_.reset();
  if (!G_IS_SOCKET_CONNECTION(connection)) return;
  socket_ = retain(g_socket_connection_get_socket(G_SOCKET_CONNECTION(connection)));
  arrivalSource_.reset(g_socket_create_source(socket_.get(), G_IO_IN, nullptr));
  const GSocketSourceFunc arrived = [](GSocket *, GIOCondition condition,
                                       gpointer self) -> gboolean {
    // A socket source also reports G_IO_HUP and G_IO_ERR. They persist, so the source would fire
    // without end.
    if (condition != G_IO_IN) return G_SOURCE_REMOVE;
    static_cast<SoupTask *>(self)->restartTimeout();
    return G_SOURCE_CONTINUE;
  };
  g_source_set_callback(arrivalSource_.get(), G_SOURCE_FUNC(arrived), this, nullptr);
  g_source_attach(arrivalSource_.get(), g_main_context_get_thread_default());
}

void SoupTask::redirected() {
  // Encoded, because libsoup follows redirects to paths that are invalid by RFC 3986 and that
  // Url::parse would reject.
  const auto to = Url::parse(percentEncoded(addressOf(message_.get())));
  if (to && request_.forwardsHeaders != nullptr && request_.forwardsHeaders(request_.url, *to)) {
    return;
  }
  for (const auto &[name, value] : request_.headers) {
    soup_message_headers_remove(soup_message_get_request_headers(message_.get()), name.c_str());
  }
}

void SoupTask::restartTimeout() {
  g_source_set_ready_time(
      timeoutSource_.get(),
      g_get_monotonic_time() + std::chrono::microseconds(request_.timeout).count());
}

void SoupTask::headArrived(SoupSession *session, GAsyncResult *result) {
  stream_.reset(soup_session_send_finish(session, result, nullptr));
  hasHead_ = stream_ != nullptr;
  if (hasHead_ && prepareDecoding()) {
    block_ = std::make_unique_for_overwrite<char[]>(blockSize);
    readMore();
  } else {
    finish(false);
  }
}

bool SoupTask::prepareDecoding() {
  const char *coding = soup_message_headers_get_list(
      soup_message_get_response_headers(message_.get()), "Content-Encoding");
  if (coding == nullptr || g_ascii_strcasecmp(coding, "identity") == 0) return true;
  if (g_ascii_strcasecmp(coding, "gzip") != 0 && g_ascii_strcasecmp(coding, "x-gzip") != 0) {
    return false;
  }
  const auto decompressor = adopt(g_zlib_decompressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP));
  stream_ = adopt(g_converter_input_stream_new(stream_.get(), G_CONVERTER(decompressor.get())));
  isDecoded_ = true;
  return true;
}

void SoupTask::readMore() {
  g_input_stream_read_async(
      stream_.get(), block_.get(), blockSize, G_PRIORITY_DEFAULT, cancellable_.get(),
      [](GObject *, GAsyncResult *result, gpointer self) {
        static_cast<SoupTask *>(self)->bodyArrived(result);
      },
      this);
}

void SoupTask::bodyArrived(GAsyncResult *result) {
  if (!handleRead(g_input_stream_read_finish(stream_.get(), result, nullptr))) return;
  // Reads what has already arrived without returning to the main loop, because polling
  // between the blocks of a large file costs more than the reads.
  for (int read = 0; read < maxReadsPerTurn && canPoll(stream_.get()); ++read) {
    GError *failure = nullptr;
    const gssize size = g_pollable_input_stream_read_nonblocking(
        G_POLLABLE_INPUT_STREAM(stream_.get()), block_.get(), blockSize, cancellable_.get(),
        &failure);
    const bool hasToWait = g_error_matches(failure, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK);
    g_clear_error(&failure);
    if (hasToWait) break;
    if (!handleRead(size)) return;
  }
  restartTimeout();
  readMore();
}

bool SoupTask::handleRead(gssize size) {
  if (size > 0 && sink_.append({block_.get(), static_cast<std::size_t>(size)})) {
    received_ += size;
    return true;
  }
  finish(size == 0 && isBodyComplete());
  return false;
}

std::optional<HttpResponse> SoupTask::response() const {
  if (!hasHead_) return std::nullopt;
  return HttpResponse{.statusCode = static_cast<int>(soup_message_get_status(message_.get()))};
}

std::optional<std::string> SoupTask::suggestedFilename() const {
  if (!hasHead_) return std::nullopt;
  SoupMessageHeaders *fields = soup_message_get_response_headers(message_.get());
  const auto field = [&](const char *name) -> std::optional<std::string> {
    const char *value = soup_message_headers_get_list(fields, name);
    if (value == nullptr) return std::nullopt;
    return value;
  };
  // Not parsed, because Url::parse rejects some addresses that libsoup accepts.
  Url finalUrl;
  finalUrl.absoluteString = addressOf(message_.get());
  return orvel::suggestedFilename(
      {.contentDisposition = field("Content-Disposition"), .mediaType = field("Content-Type")},
      finalUrl);
}

bool SoupTask::isBodyComplete() {
  // The decompressor has checked the gzip trailer (RFC 1952, section 2.3.1).
  if (isDecoded_) return true;
  SoupMessageHeaders *fields = soup_message_get_response_headers(message_.get());
  const guint status = soup_message_get_status(message_.get());
  const bool hasBody = status != SOUP_STATUS_NO_CONTENT && status != SOUP_STATUS_NOT_MODIFIED;
  switch (soup_message_headers_get_encoding(fields)) {
    case SOUP_ENCODING_CONTENT_LENGTH:
      // libsoup accepts a body that the end of the connection truncates.
      return !hasBody || received_ == soup_message_headers_get_content_length(fields);
    case SOUP_ENCODING_CHUNKED: {
      // HTTP/2 has no chunks.
      if (!hasBody || !socket_ || soup_message_get_http_version(message_.get()) > SOUP_HTTP_1_1) {
        return true;
      }
      // libsoup accepts a connection that ends between two chunks as the end of the body.
      // Another read, after the socket is closed, succeeds only if libsoup has read the last
      // chunk, because it then needs no more bytes.
      g_socket_close(socket_.get(), nullptr);
      std::array<char, 64> ignored;
      return g_input_stream_read(stream_.get(), ignored.data(), ignored.size(), nullptr, nullptr) ==
             0;
    }
    default:
      // A body without a length ends with the connection (HTTP/2: the stream), so nothing shows
      // that it is truncated.
      return true;
  }
}

void SoupTask::finish(bool hasWholeBody) {
  hasWholeBody_ = hasWholeBody;
  timeoutSource_.reset();
  arrivalSource_.reset();
  stream_.reset();
  // Moved out of the member, because the call may destroy the task.
  const Ended ended = std::move(ended_);
  ended(*this);
}

}  // namespace orvel
