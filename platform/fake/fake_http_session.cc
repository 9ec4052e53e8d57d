#include "platform/fake/fake_http_session.h"

namespace orvel {

std::string describe(const UrlRequest &request) {
  std::string text =
      request.url.absoluteString + " timeout " + std::to_string(request.timeout.count()) + " ms";
  if (request.cachePolicy == CachePolicy::reloadIgnoringLocalData) text += " no cache";
  for (const auto &[name, value] : request.headers) {
    text += " [" + name + ": ";
    text += value + "]";
  }
  return text;
}

void FakeHttpSession::dataTask(const UrlRequest &request, DataCompletion completion) {
  scheduler_.record().add("GET " + describe(request));
  sent.push_back({request, scheduler_.now()});

  FakeAnswer answer;
  const auto found = answers_.find(request.url.absoluteString);
  if (found != answers_.end() && !found->second.empty()) {
    answer = found->second.front();
    if (found->second.size() > 1) found->second.pop_front();
  }
  scheduler_.schedule(FakeScheduler::Thread::background, answer.delay,
                      [answer, completion = std::move(completion)] {
                        if (!answer.statusCode) {
                          completion(std::nullopt, std::nullopt);
                          return;
                        }
                        HttpResponse response;
                        response.statusCode = *answer.statusCode;
                        completion(response, answer.body);
                      });
}

void FakeHttpSession::answer(const std::string &url, std::vector<FakeAnswer> answers) {
  answers_[url] = {answers.begin(), answers.end()};
}

}  // namespace orvel
