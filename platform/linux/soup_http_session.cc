#include "platform/linux/soup_http_session.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <utility>

#include "platform/linux/gobject_pointer.h"
#include "platform/linux/soup_task.h"

namespace orvel {

namespace {

// Nothing waits for another request's connection to be done.
constexpr int mostConnections = 1024;
constexpr std::size_t largestText = std::size_t{64} * 1024 * 1024;

GObjectPointer<SoupSession> newSession() {
  return adopt(soup_session_new_with_options("max-conns", mostConnections, "max-conns-per-host",
                                             mostConnections, "timeout", 0U, nullptr));
}

bool isThisMachine(const std::string &host) {
  return host == "localhost" || host == "::1" || host.starts_with("127.");
}

}  // namespace

struct SoupSessions {
  SoupSessions() {
    for (SoupSession *session : {direct.get(), proxied.get()}) {
      // Of a compressed body it would take a part for the whole.
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
      queue_(context_.get()),
      thread_([this] { run(); }) {}

SoupHttpSession::~SoupHttpSession() {
  queue_.post([this] {
    stopping_ = true;
    for (const auto &task : tasks_) task->cancel();
  });
  thread_.join();
}

void SoupHttpSession::dataTask(const UrlRequest &request, DataCompletion completion) {
  queue_.post([this, request, completion = std::move(completion)] {
    const auto sink = std::make_shared<TextSink>(largestText);
    start(request, *sink, [sink, completion](const std::optional<HttpResponse> &response) {
      completion(response, response ? std::optional(sink->take()) : std::nullopt);
    });
  });
}

void SoupHttpSession::downloadTask(const UrlRequest &request, DownloadCompletion completion) {
  queue_.post([this, request, completion = std::move(completion)] {
    const auto sink = std::make_shared<FileSink>(downloadFolders_);
    start(request, *sink, [sink, completion](const std::optional<HttpResponse> &response) {
      completion(response ? std::optional(sink->path()) : std::nullopt, response);
    });
  });
}

void SoupHttpSession::run() {
  g_main_context_push_thread_default(context_.get());
  {
    SoupSessions sessions;
    sessions_ = &sessions;
    while (!stopping_ || !tasks_.empty() || g_main_context_pending(context_.get())) {
      g_main_context_iteration(context_.get(), TRUE);
    }
  }
  // Connections close by work of this context.
  while (g_main_context_iteration(context_.get(), FALSE)) {
  }
  g_main_context_pop_thread_default(context_.get());
}

void SoupHttpSession::start(const UrlRequest &request, BodySink &sink,
                            const std::function<void(std::optional<HttpResponse>)> &ended) {
  const auto &session = isThisMachine(request.url.host) ? sessions_->direct : sessions_->proxied;
  auto task = std::make_unique<SoupTask>(request, sink);
  SoupTask &started = *task;
  tasks_.insert(std::move(task));
  started.start(session.get(), [this, &started, ended](const auto &response) {
    const auto found = std::find_if(tasks_.begin(), tasks_.end(),
                                    [&](const auto &each) { return each.get() == &started; });
    // Kept until this call returns: the completion runs inside the task.
    const auto kept = tasks_.extract(found);
    ended(response);
  });
  if (stopping_) started.cancel();
}

}  // namespace orvel
