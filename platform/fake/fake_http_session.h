#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/fake/fake_scheduler.h"
#include "platform/http_session.h"

namespace orvel {

/// What a scripted server answers.
struct FakeAnswer {
  /// Absent: the connection is refused, cut, or times out.
  std::optional<int> statusCode{};
  std::string body{};
  std::chrono::milliseconds delay{0};
};

class FakeHttpSession final : public HttpSession {
 public:
  explicit FakeHttpSession(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void dataTask(const UrlRequest &request, DataCompletion completion) override;

  /// What the next requests of a URL are answered, in turn; the last one given
  /// holds for all that follow. Without any, connections are refused.
  void answer(const std::string &url, std::vector<FakeAnswer> answers);

  /// Every request with the time at which it was sent, oldest first.
  struct Sent {
    UrlRequest request;
    FakeScheduler::Duration at;
  };
  std::vector<Sent> sent;

 private:
  FakeScheduler &scheduler_;
  std::map<std::string, std::deque<FakeAnswer>> answers_;
};

/// A request as one line of the record.
std::string describe(const UrlRequest &request);

}  // namespace orvel
