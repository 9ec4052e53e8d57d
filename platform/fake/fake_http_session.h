#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/fake/fake_scheduler.h"
#include "platform/http_session.h"

namespace orvel {

/// The answer of a scripted server. By default there is no response: the connection
/// is refused, or fails before a head has arrived.
struct FakeResponse {
  /// The status of a response. Absent while a body is present: the response is not
  /// HTTP.
  std::optional<int> statusCode{};
  /// The whole body. Absent while a status is present: the body fails.
  std::optional<std::string> body{};
  std::chrono::milliseconds delay{0};
  std::optional<std::string> suggestedFilename{};
};

class FakeHttpSession final : public HttpSession {
 public:
  explicit FakeHttpSession(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void dataTask(const UrlRequest &request, DataCompletion completion) override;
  /// Writes the body to a real file in the system's temporary folder.
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override;

  /// What the next requests of a URL are answered, in turn; the last one given
  /// holds for all that follow. Without any, connections are refused.
  void respond(const std::string &url, std::vector<FakeResponse> responses);

  /// Every request with the time at which it was sent, oldest first.
  struct Sent {
    UrlRequest request;
    FakeScheduler::Duration at;
  };
  std::vector<Sent> sent;

 private:
  FakeResponse send(std::string_view verb, const UrlRequest &request);

  FakeScheduler &scheduler_;
  std::map<std::string, std::deque<FakeResponse>> responses_;
};

/// A request as one line of the record.
std::string describe(const UrlRequest &request);

}  // namespace orvel
