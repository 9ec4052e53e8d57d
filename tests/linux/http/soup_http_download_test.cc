// Downloads of the HTTP session on real sockets: what reaches the disk, and that
// nothing else does.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "base/file_move.h"
#include "platform/linux/http/soup_http_session.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

struct Outcome {
  bool hasFile = false;
  std::optional<HttpResponse> response;
  std::optional<std::string> name;
  MoveResult moved = MoveResult::failed;
};

/// Downloads, moves what comes to the path, and waits for all of that.
Outcome download(SoupHttpSession &session, const UrlRequest &request, const std::string &to) {
  std::mutex mutex;
  std::condition_variable arrived;
  std::optional<Outcome> outcome;
  session.downloadTask(request, [&](const Download &told) {
    Outcome seen{told.file.has_value(), told.response, told.suggestedFilename};
    if (told.file) seen.moved = moveFile(*told.file, to);
    const std::lock_guard lock(mutex);
    outcome = seen;
    arrived.notify_all();
  });
  std::unique_lock lock(mutex);
  arrived.wait(lock, [&] { return outcome.has_value(); });
  return *outcome;
}

/// For its life no file of this process grows beyond a size.
class LargestFile {
 public:
  explicit LargestFile(rlim_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{size, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LargestFile() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  LargestFile(const LargestFile &) = delete;
  LargestFile &operator=(const LargestFile &) = delete;

 private:
  rlimit before_{};
  void (*const handler_)(int);
};

class SoupHttpDownload : public testing::Test {
 protected:
  Outcome fetch(const UrlRequest &request) { return download(session_, request, target_); }
  Outcome fetch(const LoopbackServer &server) { return fetch(requestOf(server.url("/a/lijst"))); }

  std::size_t filesInFolder() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
  }
  static std::string textOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryFolder folder_;
  const std::string target_ = (folder_.path() / "naar").string();
  SoupHttpSession session_{{folder_.path().string()}};
};

TEST_F(SoupHttpDownload, WritesBodiesOfEverySize) {
  for (const std::size_t size : {0U, 1U, 65'535U, 65'536U, 65'537U, 5'000'000U}) {
    std::string body(size, '\0');
    for (std::size_t at = 0; at < size; ++at) body[at] = static_cast<char>(at * 31 / 7);
    const LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send(answer("200 OK", body));
    });
    EXPECT_EQ(fetch(server).moved, MoveResult::moved) << size;
    EXPECT_EQ(textOf(target_), body) << size;
    EXPECT_EQ(filesInFolder(), 1U) << size;
    fs::remove(target_);
  }
}

TEST_F(SoupHttpDownload, GivesFilesTheModeOfTheUsersOwn) {
  const LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "x")); });
  fetch(server);
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(fs::status(target_).permissions(), static_cast<fs::perms>(0666U & ~mask));
}

TEST_F(SoupHttpDownload, LeavesNothingOfABodyThatIsCut) {
  const std::string block(100'000, 'x');
  const std::vector<std::string> answers{
      "HTTP/1.1 200 OK\r\nContent-Length: 200000\r\n\r\n" + block,
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n186A0\r\n" + block + "\r\n",
      "HTTP/1.1 200 OK\r\nContent-Le",
      "",
  };
  for (const std::string &bytes : answers) {
    const LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send(bytes);
      client.finish();
    });
    const Outcome outcome = fetch(server);
    EXPECT_FALSE(outcome.hasFile);
    EXPECT_EQ(filesInFolder(), 0U);
  }
}

TEST_F(SoupHttpDownload, EndsWhenTheServerFallsSilent) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab");
    client.waitForClient();
  });
  UrlRequest request = requestOf(server.url());
  request.timeout = milliseconds(300);
  EXPECT_FALSE(fetch(request).hasFile);
  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(SoupHttpDownload, HasNoLimitInTime) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 8\r\n\r\n");
    client.dribble("druppels", milliseconds(100));
  });
  UrlRequest request = requestOf(server.url());
  request.timeout = milliseconds(500);
  EXPECT_EQ(fetch(request).moved, MoveResult::moved);
  EXPECT_EQ(textOf(target_), "druppels");
}

TEST_F(SoupHttpDownload, SendsAnEmptyCookieField) {
  const LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "x")); });
  UrlRequest request = requestOf(server.url());
  request.setHeader("X-ORVEL-App", "");
  request.setHeader("Cookie", "");
  fetch(request);
  EXPECT_NE(server.heads()[0].find("\r\nCookie:"), std::string::npos) << server.heads()[0];
  EXPECT_EQ(fieldIn(server.heads()[0], "Cookie").find_first_not_of(' '), std::string::npos);
}

TEST_F(SoupHttpDownload, KeepsCookiesFromOtherServers) {
  const LoopbackServer other(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "x")); });
  const LoopbackServer first([&](LoopbackConnection &client, const std::string &) {
    client.send(answer("302 Found", "", "Location: " + other.url("/elders/los.txt") + "\r\n"));
  });
  UrlRequest request = requestOf(first.url());
  request.setHeader("Cookie", "orvelapp=geheim");
  const Outcome outcome = fetch(request);
  EXPECT_EQ(fieldIn(first.heads()[0], "Cookie"), " orvelapp=geheim");
  EXPECT_EQ(fieldIn(other.heads()[0], "Cookie"), "(absent)");
  // The name is that of the address in the end.
  EXPECT_EQ(outcome.name, "los.txt");
}

TEST_F(SoupHttpDownload, ReadsTheNameFromTheHead) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send(answer("200 OK", "x",
                       "Content-Disposition: attachment; filename=\"a/b.csv\"\r\n"
                       "Content-Type: text/csv\r\n"));
  });
  EXPECT_EQ(fetch(server).name, "a/b.csv");
}

TEST_F(SoupHttpDownload, FailsWithoutARequestWhereNoFileCanBeMade) {
  const LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "x")); });
  const std::string file = folder_.file("bestand", "x");
  for (const std::vector<std::string> &folders :
       {std::vector<std::string>{}, {(folder_.path() / "weg").string()}, {file}}) {
    SoupHttpSession session(folders);
    EXPECT_FALSE(download(session, requestOf(server.url()), target_).hasFile);
  }
  EXPECT_TRUE(server.heads().empty());
}

TEST_F(SoupHttpDownload, TakesTheFirstFolderThatServes) {
  const LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "x")); });
  SoupHttpSession session({(folder_.path() / "weg").string(), folder_.path().string()});
  EXPECT_EQ(download(session, requestOf(server.url()), target_).moved, MoveResult::moved);
}

TEST_F(SoupHttpDownload, FailsOnAFullDisk) {
  // A limit on the size of files acts like a disk that is full.
  const LargestFile limit(100'000);
  const std::string body(300'000, 'x');
  const LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
    client.send(answer("200 OK", body));
  });
  EXPECT_FALSE(fetch(server).hasFile);
  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(SoupHttpDownload, EndOfTheSessionEndsThemWithoutATrace) {
  std::atomic<int> failed = 0;
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 500000\r\n\r\n" + std::string(100'000, 'x'));
    client.waitForClient();
  });
  {
    SoupHttpSession session({folder_.path().string()});
    for (int number = 0; number < 5; ++number) {
      session.downloadTask(requestOf(server.url()),
                           [&](const Download &download) { failed += download.file ? 0 : 1; });
    }
    ASSERT_TRUE(posix_test::eventually([&] { return server.heads().size() == 5; }));
  }
  EXPECT_EQ(failed, 5);
  EXPECT_EQ(filesInFolder(), 0U);
}

TEST_F(SoupHttpDownload, HoldsNoBodyInMemory) {
  if (posix_test::hasSanitizer) GTEST_SKIP() << "a sanitizer keeps what was freed";
  constexpr std::size_t megabyte = 1'048'576;
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(300 * megabyte) +
                "\r\n\r\n");
    const std::string block(megabyte, 'x');
    for (int sent = 0; sent < 300; ++sent) client.send(block);
  });
  const auto peak = [] {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
  };
  const std::size_t before = peak();
  EXPECT_EQ(fetch(server).moved, MoveResult::moved);
  EXPECT_EQ(fs::file_size(target_), 300 * megabyte);
  EXPECT_LT(peak() - before, 16 * megabyte);
}

}  // namespace
}  // namespace orvel
