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

/// The response of a scripted server. By default the connection is refused.
struct FakeResponse {
  /// Absent with a body: the response is not HTTP.
  std::optional<int> statusCode{};
  /// Absent with a status: the transfer of the body fails.
  std::optional<std::string> body{};
  std::chrono::milliseconds delay{0};
  std::optional<std::string> suggestedFilename{};
};

/// An HTTP session with a script of responses for each URL.
class FakeHttpSession final : public HttpSession {
 public:
  explicit FakeHttpSession(FakeScheduler &scheduler) : scheduler_(scheduler) {}

  void dataTask(const UrlRequest &request, DataCompletion completion) override;
  /// Writes the body to a real file in the system's temporary folder.
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override;

  /// Sets the responses to the next requests for a URL, in order. The last response
  /// repeats. A URL without responses refuses connections.
  void setResponses(const std::string &url, std::vector<FakeResponse> responses);

  /// A request and the virtual time at which it was sent.
  struct Sent {
    UrlRequest request;
    FakeScheduler::Duration at;
  };
  /// All requests, oldest first.
  std::vector<Sent> sent;

 private:
  FakeResponse send(std::string_view verb, const UrlRequest &request);

  FakeScheduler &scheduler_;
  std::map<std::string, std::deque<FakeResponse>> responses_;
};

/// Returns a request as one line of the record.
std::string describe(const UrlRequest &request);

}  // namespace orvel
