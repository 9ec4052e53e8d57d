#include "platform/fake/fake_http_session.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "base/file_handle.h"

namespace orvel {

namespace {

std::string temporaryFileWith(const std::string &text) {
  std::string path = (std::filesystem::temp_directory_path() / "orvel-download-XXXXXX").string();
  FileHandle file(::mkstemp(path.data()));
  if (file.descriptor() < 0 || !file.write(text)) {
    throw std::runtime_error("cannot write a temporary file: " + path);
  }
  return path;
}

std::optional<HttpResponse> responseOf(const FakeResponse &response) {
  if (!response.statusCode) return std::nullopt;
  return HttpResponse{.statusCode = *response.statusCode};
}

}  // namespace

std::string describe(const UrlRequest &request) {
  std::string text = request.url.absoluteString;
  text += " timeout " + std::to_string(request.timeout.count()) + " ms";
  if (request.cachePolicy == CachePolicy::reloadIgnoringLocalData) text += " no cache";
  for (const auto &[name, value] : request.headers) text += " [" + name + ": " + value + "]";
  return text;
}

FakeResponse FakeHttpSession::send(std::string_view verb, const UrlRequest &request) {
  scheduler_.record().add(std::string(verb) + " " + describe(request));
  sent.push_back({request, scheduler_.now()});

  auto &responses = responses_[request.url.absoluteString];
  if (responses.empty()) return {};
  FakeResponse response = responses.front();
  if (responses.size() > 1) responses.pop_front();
  return response;
}

void FakeHttpSession::dataTask(const UrlRequest &request, DataCompletion completion) {
  const FakeResponse response = send("GET", request);
  scheduler_.schedule(FakeScheduler::Thread::background, response.delay,
                      [response, completion = std::move(completion)] {
                        completion({.response = responseOf(response), .body = response.body});
                      });
}

void FakeHttpSession::downloadTask(const UrlRequest &request, DownloadCompletion completion) {
  const FakeResponse response = send("download", request);
  scheduler_.schedule(FakeScheduler::Thread::background, response.delay,
                      [response, completion = std::move(completion)] {
                        Download download{.response = responseOf(response),
                                          .suggestedFilename = response.suggestedFilename};
                        if (response.body) download.file = temporaryFileWith(*response.body);
                        completion(download);
                        if (download.file) ::unlink(download.file->c_str());
                      });
}

void FakeHttpSession::setResponses(const std::string &url, std::vector<FakeResponse> responses) {
  responses_[url] = {responses.begin(), responses.end()};
}

}  // namespace orvel
