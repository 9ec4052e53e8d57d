#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/file_handle.h"
#include "platform/fake/fake_scheduler.h"
#include "platform/http_session.h"

namespace orvel {

/// The response of a scripted server. Without a status and a body the connection is refused.
struct FakeResponse {
  /// Absent for a response that is not HTTP, such as that of a file: URL. It has only a body.
  std::optional<int> statusCode{};
  /// Absent when the transfer of the body fails.
  std::optional<std::string> body{};
  /// The virtual time between the request and its completion.
  std::chrono::milliseconds delay{0};
  std::optional<std::string> suggestedFilename{};
};

/// Returns a request as one line of the record.
inline std::string describe(const UrlRequest &request) {
  std::string text = request.url.absoluteString;
  text += " timeout " + std::to_string(request.timeout.count()) + " ms";
  if (request.cachePolicy == CachePolicy::reloadIgnoringLocalData) text += " no cache";
  for (const auto &[name, value] : request.headers) text += " [" + name + ": " + value + "]";
  return text;
}

/// An HTTP session with a script of responses for each URL.
class FakeHttpSession final : public HttpSession, private SchedulerUser {
 public:
  using SchedulerUser::SchedulerUser;

  void dataTask(const UrlRequest &request, DataCompletion completion) override {
    const FakeResponse response = recordAndRespond("GET", request);
    scheduler_.schedule(FakeScheduler::Thread::background, response.delay,
                        [response, completion = std::move(completion)] {
                          completion({.response = headOf(response), .body = response.body});
                        });
  }
  /// Writes the body to a real file in `downloadFolder`.
  void downloadTask(const UrlRequest &request, DownloadCompletion completion) override {
    const FakeResponse response = recordAndRespond("download", request);
    scheduler_.schedule(FakeScheduler::Thread::background, response.delay,
                        [this, response, completion = std::move(completion)] {
                          Download download{.response = headOf(response),
                                            .suggestedFilename = response.suggestedFilename};
                          if (response.body) download.file = temporaryFileWith(*response.body);
                          completion(download);
                          if (download.file) ::unlink(download.file->c_str());
                        });
  }

  /// Sets the responses to the next requests for a URL, in order. The last response
  /// repeats. A URL without responses refuses connections.
  void setResponses(const std::string &url, const std::vector<FakeResponse> &responses) {
    responses_[url] = {responses.begin(), responses.end()};
  }

  /// A request and the virtual time at which it was sent.
  struct Sent {
    UrlRequest request;
    FakeScheduler::Duration at;
  };
  /// All requests, oldest first.
  std::vector<Sent> sent;
  std::filesystem::path downloadFolder = std::filesystem::temp_directory_path();

 private:
  static std::optional<HttpResponse> headOf(const FakeResponse &response) {
    if (!response.statusCode) return std::nullopt;
    return HttpResponse{.statusCode = *response.statusCode};
  }

  std::string temporaryFileWith(const std::string &text) const {
    std::string path = downloadFolder / "orvel-download-XXXXXX";
    FileHandle file(::mkstemp(path.data()));
    if (file.descriptor() < 0 || !file.write(text)) {
      throw std::runtime_error("cannot write a temporary file: " + path);
    }
    return path;
  }

  /// Records a request and returns its response.
  FakeResponse recordAndRespond(const std::string &verb, const UrlRequest &request) {
    scheduler_.record().add(verb + " " + describe(request));
    sent.push_back({request, scheduler_.now()});
    auto &responses = responses_[request.url.absoluteString];
    if (responses.empty()) return {};
    FakeResponse response = responses.front();
    if (responses.size() > 1) responses.pop_front();
    return response;
  }

  std::map<std::string, std::deque<FakeResponse>> responses_;
};

}  // namespace orvel
