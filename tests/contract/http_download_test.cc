// What every platform promises of download tasks.

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "base/file_move.h"
#include "tests/contract/contract_platform.h"
#include "tests/support/loopback_server.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

std::string readFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// What a completion saw while it ran.
struct Seen {
  Download download;
  std::string text;
  MoveResult moved = MoveResult::failed;
  bool onMain = true;
};

class HttpDownloadContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  Seen fetch(const std::string &path, const std::string &moveTo = "") {
    UrlRequest request;
    request.url = *Url::parse(server_.url(path));
    platform_->answerNext(request.url.absoluteString, path == "/weg" ? 404 : 200,
                          path == "/truncated" ? std::nullopt : std::optional(body_));
    Seen seen;
    int completions = 0;
    platform_->ports().http.downloadTask(request, [&](const Download &download) {
      seen.onMain = platform_->onMainThread();
      seen.download = download;
      if (download.file) seen.text = readFile(*download.file);
      if (download.file && !moveTo.empty()) seen.moved = moveFile(*download.file, moveTo);
      platform_->ports().mainQueue.post([&] { ++completions; });
    });
    EXPECT_TRUE(platform_->runUntil([&] { return completions > 0; }));
    EXPECT_EQ(completions, 1);
    return seen;
  }

  const std::string body_ = "regel 1\nregel 2\n";
  LoopbackServer server_{[this](LoopbackConnection &connection, const std::string &head) {
    if (head.starts_with("GET /truncated ")) {
      connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab");
    } else {
      connection.send(answer(head.starts_with("GET /weg ") ? "404 Not Found" : "200 OK", body_));
    }
  }};
  TemporaryFolder folder_;
  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(HttpDownloadContract, HandsOverAFileThatGoesWithTheCompletion) {
  const auto [download, text, moved, onMain] = fetch("/lijst.csv");
  ASSERT_TRUE(download.file);
  EXPECT_EQ(text, body_);
  EXPECT_FALSE(onMain);
  ASSERT_TRUE(download.response);
  EXPECT_EQ(download.response->statusCode, 200);
  // The completion was still returning when it was heard of here.
  const std::string path = *download.file;
  EXPECT_TRUE(platform_->runUntil([&] { return !std::filesystem::exists(path); }));
}

TEST_P(HttpDownloadContract, LeavesAFileThatWasMovedWhereItIs) {
  const std::string path = (folder_.path() / "een lijst.csv").string();
  EXPECT_EQ(fetch("/lijst.csv", path).moved, MoveResult::moved);
  EXPECT_EQ(readFile(path), body_);
}

TEST_P(HttpDownloadContract, MovesOverNothing) {
  const std::string path = folder_.file("lijst.csv", "eerder");
  EXPECT_EQ(fetch("/lijst.csv", path).moved, MoveResult::destinationExists);
  EXPECT_EQ(readFile(path), "eerder");
}

TEST_P(HttpDownloadContract, HandsOverTheBodyOfEveryStatus) {
  const Seen seen = fetch("/weg");
  ASSERT_TRUE(seen.download.response);
  EXPECT_EQ(seen.download.response->statusCode, 404);
  EXPECT_EQ(seen.text, body_);
}

TEST_P(HttpDownloadContract, DeliversTheHeadOfATruncatedBodyWithoutAFile) {
  const Seen seen = fetch("/truncated");
  ASSERT_TRUE(seen.download.response);
  EXPECT_EQ(seen.download.response->statusCode, 200);
  EXPECT_EQ(seen.download.file, std::nullopt);
}

TEST_P(HttpDownloadContract, TellsAFailureByAbsence) {
  UrlRequest request;
  request.url = *Url::parse("http://127.0.0.1:" + std::to_string(unusedPort()) + "/lijst.csv");
  bool done = false;
  bool absent = false;
  platform_->ports().http.downloadTask(request, [&](const Download &download) {
    absent = !download.file && !download.response;
    platform_->ports().mainQueue.post([&] { done = true; });
  });
  ASSERT_TRUE(platform_->runUntil([&] { return done; }));
  EXPECT_TRUE(absent);
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, HttpDownloadContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

TEST(MoveFile, GivesAFileAnotherPlace) {
  const TemporaryFolder folder;
  const std::string from = folder.file("van", "inhoud");
  const std::string to = (folder.path() / "naar").string();
  EXPECT_EQ(moveFile(from, to), MoveResult::moved);
  EXPECT_EQ(readFile(to), "inhoud");
  EXPECT_FALSE(std::filesystem::exists(from));
}

TEST(MoveFile, NeverReplaces) {
  const TemporaryFolder folder;
  const std::string from = folder.file("van", "nieuw");
  const std::string file = folder.file("bestand", "oud");
  const std::string link = (folder.path() / "verwijzing").string();
  std::filesystem::create_symlink("nergens", link);
  const std::string map = (folder.path() / "map").string();
  std::filesystem::create_directory(map);
  for (const std::string &to : {file, link, map, from}) {
    EXPECT_EQ(moveFile(from, to), MoveResult::destinationExists) << to;
  }
  EXPECT_EQ(readFile(from), "nieuw");
  EXPECT_EQ(readFile(file), "oud");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST(MoveFile, FailsWithoutALoss) {
  const TemporaryFolder folder;
  const std::string from = folder.file("van", "inhoud");
  EXPECT_EQ(moveFile(from, (folder.path() / "geen map" / "naar").string()), MoveResult::failed);
  EXPECT_EQ(moveFile(from, (folder.path() / std::string(256, 'x')).string()), MoveResult::failed);
  EXPECT_EQ(moveFile((folder.path() / "weg").string(), (folder.path() / "naar").string()),
            MoveResult::failed);
  EXPECT_EQ(readFile(from), "inhoud");
}

}  // namespace
}  // namespace orvel
