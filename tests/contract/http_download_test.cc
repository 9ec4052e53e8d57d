#include "base/file_move.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using posix_test::contentsOf;

/// What a completion observed while it ran.
struct Observation {
  Download download;
  std::string contents;
  bool onMainThread = true;
};

class HttpDownloadContract : public ContractTest {
 protected:
  /// Downloads a URL. The completion moves the file to `moveTo`, unless that is empty.
  Observation fetch(const std::string &url, const std::string &moveTo = "") {
    Observation observation;
    int completions = 0;
    platform->interfaces().http.downloadTask(requestOf(url), [&](const Download &download) {
      observation.onMainThread = platform->onMainThread();
      observation.download = download;
      if (download.file) observation.contents = contentsOf(*download.file);
      if (download.file && !moveTo.empty()) {
        EXPECT_EQ(moveFile(*download.file, moveTo), MoveResult::moved);
      }
      queue().post([&] { ++completions; });
    });
    EXPECT_TRUE(runUntil([&] { return completions > 0; }));
    EXPECT_EQ(completions, 1);
    return observation;
  }
  /// Downloads `body_` from a server that responds with a status such as "200 OK".
  Observation fetchWithStatus(const std::string &status, const std::string &moveTo = "") {
    const LoopbackServer server(respondWith(response(status, body_)));
    platform->scriptResponse(server.url("/list.csv"), std::stoi(status), body_);
    return fetch(server.url("/list.csv"), moveTo);
  }

  const std::string body_ = "line 1\nline 2\n";
  const TemporaryFolder folder_;
};

TEST_P(HttpDownloadContract, FileIsRemovedAfterCompletion) {
  const auto [download, contents, onMainThread] = fetchWithStatus("200 OK");
  ASSERT_TRUE(download.file);
  EXPECT_EQ(contents, body_);
  EXPECT_FALSE(onMainThread);
  ASSERT_TRUE(download.response);
  EXPECT_EQ(download.response->statusCode, 200);
  // fetch() may return before the completion does.
  EXPECT_TRUE(runUntil([&file = *download.file] { return !std::filesystem::exists(file); }));
}

TEST_P(HttpDownloadContract, FileMovedByCompletionIsKept) {
  const std::string path = folder_.path() / "a list.csv";
  fetchWithStatus("200 OK", path);
  EXPECT_EQ(contentsOf(path), body_);
}

TEST_P(HttpDownloadContract, BodyOfErrorStatusIsDelivered) {
  const Observation observation = fetchWithStatus("404 Not Found");
  ASSERT_TRUE(observation.download.response);
  EXPECT_EQ(observation.download.response->statusCode, 404);
  EXPECT_EQ(observation.contents, body_);
}

TEST_P(HttpDownloadContract, TruncatedBodyGivesResponseWithoutFile) {
  const LoopbackServer server(respondWith("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab"));
  platform->scriptResponse(server.url(), 200, std::nullopt);
  const Download download = fetch(server.url()).download;
  ASSERT_TRUE(download.response);
  EXPECT_EQ(download.response->statusCode, 200);
  EXPECT_EQ(download.file, std::nullopt);
}

TEST_P(HttpDownloadContract, RefusedConnectionGivesNeitherResponseNorFile) {
  const Download download = fetch(refusedUrl("/list.csv")).download;
  EXPECT_EQ(download.file, std::nullopt);
  EXPECT_FALSE(download.response);
}

INSTANTIATE_ON_EVERY_PLATFORM(HttpDownloadContract);

}  // namespace
}  // namespace orvel
