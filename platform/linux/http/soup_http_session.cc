#include "platform/linux/http/soup_http_session.h"

#include <gio/gunixconnection.h>
#include <gio/gunixsocketaddress.h>
#include <libsoup/soup.h>

#include <utility>

#include "base/ascii.h"
#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/http/soup_task.h"

namespace orvel {

namespace {

// High limit, so that requests never queue for a connection.
constexpr int maxConnections = 1024;
/// The limit of a body in memory, in bytes.
constexpr std::size_t maxTextSize = std::size_t{64} * 1024 * 1024;

/// Creates a session without libsoup's own timeout, because SoupTask has one.
GObjectPointer<SoupSession> newSession() {
  return adopt(soup_session_new_with_options("max-conns", maxConnections, "max-conns-per-host",
                                             maxConnections, "timeout", 0U, nullptr));
}

/// Registers the GObject types that both a session and the main thread use. Two threads that
/// use a GObject type for the first time can deadlock: one holds the lock of class
/// initialisation and waits for a type that the other thread is registering, and the other
/// thread waits for that lock. Must therefore run before the request thread starts.
void registerTypes() {
  for (const GType type :
       {G_TYPE_INET_SOCKET_ADDRESS, G_TYPE_UNIX_SOCKET_ADDRESS, G_TYPE_NETWORK_ADDRESS,
        G_TYPE_PROXY_ADDRESS, G_TYPE_SOCKET, G_TYPE_SOCKET_CLIENT, G_TYPE_TCP_CONNECTION,
        G_TYPE_UNIX_CONNECTION, G_TYPE_TLS_CERTIFICATE, G_TYPE_CONVERTER_INPUT_STREAM,
        G_TYPE_ZLIB_DECOMPRESSOR, G_TYPE_TASK, G_TYPE_CANCELLABLE, SOUP_TYPE_MESSAGE}) {
    g_type_class_unref(g_type_class_ref(type));
  }
  for (const GType type : {G_TYPE_SOCKET_CONNECTABLE, G_TYPE_ASYNC_INITABLE, G_TYPE_INITABLE,
                           G_TYPE_PROXY_RESOLVER, G_TYPE_POLLABLE_INPUT_STREAM}) {
    g_type_ensure(type);
  }
  // The creation of a session registers more types of libsoup.
  newSession();
}

/// Returns whether a host is this machine. Requests to it, and their redirects, use no proxy.
bool isLoopback(const std::string &host) {
  // "127.1" is 127.0.0.1 as well, but "127.example.test" is a host of the network.
  return equalIgnoringAsciiCase(host, "localhost") || host == "::1" ||
         (host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string::npos);
}

}  // namespace

/// The libsoup sessions, with and without the system's proxy. Used on the request thread only.
struct SoupSessions {
  SoupSessions() {
    for (SoupSession *session : {direct.get(), proxied.get()}) {
      // libsoup accepts a truncated compressed body, so SoupTask decodes it.
      soup_session_remove_feature_by_type(session, SOUP_TYPE_CONTENT_DECODER);
    }
    g_object_set(direct.get(), "proxy-resolver", nullptr, nullptr);
  }

  const GObjectPointer<SoupSession> direct{newSession()};
  const GObjectPointer<SoupSession> proxied{newSession()};
};

SoupHttpSession::SoupHttpSession(std::vector<std::string> downloadFolders)
    : downloadFolders_(std::move(downloadFolders)),
      context_(g_main_context_new()),
      queue_(context_.get()) {
  registerTypes();
  thread_ = std::thread([this] { run(); });
}

SoupHttpSession::~SoupHttpSession() {
  queue_.post([this] {
    stopping_ = true;
    for (SoupTask &task : tasks_) task.cancel();
  });
  thread_.join();
}

void SoupHttpSession::dataTask(const UrlRequest &request, DataCompletion completion) {
  queue_.post([this, request, completion = std::move(completion)]() mutable {
    const auto sink = std::make_shared<TextSink>(maxTextSize);
    start(request, *sink,
          [this, sink, completion = std::move(completion)](const SoupTask &task) mutable {
            DataReply reply{
                .response = task.response(),
                .body = task.hasWholeBody() ? std::optional(sink->take()) : std::nullopt};
            complete([completion = std::move(completion), reply = std::move(reply)] {
              completion(reply);
            });
          });
  });
}

void SoupHttpSession::downloadTask(const UrlRequest &request, DownloadCompletion completion) {
  queue_.post([this, request, completion = std::move(completion)]() mutable {
    auto sink = std::make_shared<FileSink>(downloadFolders_);
    FileSink &file = *sink;
    start(request, file,
          [this, sink = std::move(sink),
           completion = std::move(completion)](const SoupTask &task) mutable {
            Download download{
                .file = task.hasWholeBody() ? std::optional(sink->path()) : std::nullopt,
                .response = task.response(),
                .suggestedFilename = task.suggestedFilename()};
            // The lambda owns the sink, so the file is removed when the lambda is destroyed.
            complete([completion = std::move(completion), download = std::move(download),
                      sink = std::move(sink)] { completion(download); });
          });
  });
}

void SoupHttpSession::run() {
  g_main_context_push_thread_default(context_.get());
  {
    SoupSessions sessions;
    sessions_ = &sessions;
    while (!stopping_ || unfinished_ > 0 || g_main_context_pending(context_.get())) {
      g_main_context_iteration(context_.get(), TRUE);
    }
  }
  // Runs the sources of this context with which libsoup closes the connections of the sessions.
  while (g_main_context_iteration(context_.get(), FALSE)) {
  }
  g_main_context_pop_thread_default(context_.get());
}

void SoupHttpSession::start(const UrlRequest &request, BodySink &sink,
                            std::function<void(const SoupTask &)> ended) {
  ++unfinished_;
  const auto &session = isLoopback(request.url.host) ? sessions_->direct : sessions_->proxied;
  const auto started = tasks_.emplace(tasks_.end(), request, sink);
  started->start(session.get(), [this, started, ended = std::move(ended)](const SoupTask &task) {
    // Keeps the task alive until this callback, which the task calls, has returned.
    std::list<SoupTask> owner;
    owner.splice(owner.end(), tasks_, started);
    ended(task);
  });
  // A completion may start a request while the destructor waits.
  if (stopping_) started->cancel();
}

void SoupHttpSession::complete(std::function<void()> completion) {
  completions_.post([this, completion = std::move(completion)]() mutable {
    completion();
    // Releases the captures, such as the file of a download, before the request counts as
    // finished. A request that the completion itself started is counted first, because it was
    // posted before this decrement.
    completion = nullptr;
    queue_.post([this] { --unfinished_; });
  });
}

}  // namespace orvel
