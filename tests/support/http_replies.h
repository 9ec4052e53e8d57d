#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/http_session.h"

namespace orvel {

/// What the completions of a test's requests were told, in their order.
class HttpReplies {
 public:
  struct Reply {
    std::string name;
    /// Absent when no head arrived.
    std::optional<int> status;
    /// Absent when the body failed.
    std::optional<std::string> body;
    std::thread::id thread;
  };

  DataCompletion completion(std::string name = {}) {
    return [this, name = std::move(name)](const DataReply &told) {
      const std::lock_guard lock(mutex_);
      Reply reply{name, std::nullopt, told.body, std::this_thread::get_id()};
      if (told.response) reply.status = told.response->statusCode;
      all_.push_back(std::move(reply));
      arrived_.notify_all();
    };
  }

  /// Waits until that many have come; gives what has come by the limit.
  std::vector<Reply> wait(std::size_t count,
                          std::chrono::seconds limit = std::chrono::seconds(60)) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, limit, [&] { return all_.size() >= count; });
    return all_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<Reply> all_;
};

/// A request with a time-out that no test reaches unless it wants to.
inline UrlRequest requestOf(const std::string &address) {
  UrlRequest request;
  request.url.absoluteString = address;
  if (const auto url = Url::parse(address)) request.url = *url;
  return request;
}

/// Sends one request and waits for what becomes of it.
inline HttpReplies::Reply fetch(HttpSession &session, const UrlRequest &request) {
  HttpReplies replies;
  session.dataTask(request, replies.completion());
  // The session refers to the replies: there is no going on without one.
  return replies.wait(1, std::chrono::seconds(600)).at(0);
}

}  // namespace orvel
