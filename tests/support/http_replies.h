#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/http_session.h"
#include "tests/support/time_limit.h"

namespace orvel {

/// Collects the replies of data tasks in the order of their completion.
class HttpReplies {
 public:
  struct Reply {
    std::string name;
    /// Absent when no head arrived.
    std::optional<int> status;
    /// Absent when the body failed.
    std::optional<std::string> body;
    /// The thread on which the completion ran.
    std::thread::id thread;
  };

  /// Returns a completion that adds its reply, with this name, to the collection. The
  /// collection must outlive it.
  DataCompletion completion(std::string name = {}) {
    return [this, name = std::move(name)](const DataReply &received) {
      const std::lock_guard lock(mutex_);
      Reply reply{name, std::nullopt, received.body, std::this_thread::get_id()};
      if (received.response) reply.status = received.response->statusCode;
      all_.push_back(std::move(reply));
      arrived_.notify_all();
    };
  }

  /// Waits for that many replies. Returns those received within the limit, which is
  /// multiplied by ORVEL_TEST_TIMEOUT_FACTOR (time_limit.h).
  std::vector<Reply> wait(std::size_t count,
                          std::chrono::seconds limit = std::chrono::seconds(60)) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, timeLimit(limit), [&] { return all_.size() >= count; });
    return all_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<Reply> all_;
};

/// Returns a GET request. For an address that is not a URL, only `absoluteString` is set.
inline UrlRequest requestOf(const std::string &address) {
  UrlRequest request;
  request.url.absoluteString = address;
  if (const auto url = Url::parse(address)) request.url = *url;
  return request;
}

/// Sends one request and waits for its reply.
inline HttpReplies::Reply fetch(HttpSession &session, const UrlRequest &request) {
  HttpReplies replies;
  session.dataTask(request, replies.completion());
  // A long limit, because the completion refers to `replies`, which must outlive it.
  return replies.wait(1, std::chrono::seconds(600)).at(0);
}
inline HttpReplies::Reply fetch(HttpSession &session, const std::string &address) {
  return fetch(session, requestOf(address));
}

}  // namespace orvel
