#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>

#include "base/file_move.h"
#include "platform/linux/http/soup_http_session.h"
#include "tests/support/folder_tree.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;
using std::chrono::milliseconds;

class SoupHttpDownload : public testing::Test {
 protected:
  /// Downloads a file and waits for the completion, which moves the file to `target_`.
  Download fetchAndMove(SoupHttpSession &session, const UrlRequest &request) const {
    const auto promise = std::make_shared<std::promise<Download>>();
    session.downloadTask(request, [promise, this](const Download &download) {
      if (download.file) {
        EXPECT_EQ(moveFile(*download.file, target_), MoveResult::moved);
      }
      promise->set_value(download);
    });
    return promise->get_future().get();
  }
  Download fetchAndMove(const LoopbackServer &server) {
    return fetchAndMove(session_, requestOf(server.url()));
  }
  /// Waits until the folder is empty: on a file system without O_TMPFILE, the file of a failed
  /// download is removed only after the completion has returned.
  bool folderBecomesEmpty() const {
    return eventually([this] { return fs::is_empty(folder_.path()); });
  }

  const TemporaryFolder folder_;
  const std::string target_ = folder_.path() / "target";
  SoupHttpSession session_{{folder_.path()}};
};

TEST_F(SoupHttpDownload, EmptySmallAndLargeBodyIsWritten) {
  // The adapter reads at most 262,144 bytes at once. After an asynchronous read it makes at most 16
  // synchronous ones.
  for (const std::size_t size : {0U, 1U, 262'143U, 262'144U, 262'145U, 5'000'000U}) {
    std::string body(size, '\0');
    // The pattern repeats every 1,792 bytes, so that successive blocks of 2^n bytes differ.
    for (std::size_t at = 0; at < size; ++at) body[at] = static_cast<char>(at * 31 / 7);
    const LoopbackServer server(respondWith(okResponse(body)));
    EXPECT_TRUE(fetchAndMove(server).file) << size;
    EXPECT_EQ(contentsOf(target_), body) << size;
    EXPECT_EQ(entryCount(folder_.path()), 1) << size;
    fs::remove(target_);
  }
}

TEST_F(SoupHttpDownload, TruncatedBodyLeavesNoFile) {
  const std::string block(100'000, 'x');
  for (const std::string &bytes :
       {// A whole chunk of 100,000 bytes, without the empty chunk that ends the body.
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n186A0\r\n" + block + "\r\n",
        std::string("HTTP/1.1 200 OK\r\nContent-Le"), std::string()}) {
    const LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send(bytes);
      client.shutDownSending();
    });
    EXPECT_FALSE(fetchAndMove(server).file) << bytes.substr(0, 80);
    EXPECT_TRUE(folderBecomesEmpty()) << bytes.substr(0, 80);
  }
}

TEST_F(SoupHttpDownload, StalledBodyTimesOutAndLeavesNoFile) {
  const LoopbackServer server(stallAfter("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab"));
  UrlRequest request = requestOf(server.url());
  request.timeout = milliseconds(300);
  EXPECT_FALSE(fetchAndMove(session_, request).file);
  EXPECT_TRUE(folderBecomesEmpty());
}

TEST_F(SoupHttpDownload, ContentDispositionOrFinalUrlNamesDownload) {
  const std::string disposition = "Content-Disposition: attachment; filename=\"a/b.csv\"\r\n";
  const LoopbackServer named(respondWith(okResponse("x", disposition)));
  EXPECT_EQ(fetchAndMove(named).suggestedFilename, "a/b.csv");
  fs::remove(target_);
  const LoopbackServer unnamed(respondWith(okResponse("x")));
  const LoopbackServer server(respondWith(redirectTo(unnamed.url("/elsewhere/file.txt"))));
  EXPECT_EQ(fetchAndMove(server).suggestedFilename, "file.txt");
}

TEST_F(SoupHttpDownload, WithoutWritableFolderNoRequestIsSent) {
  const LoopbackServer server(respondWith(okResponse("x")));
  SoupHttpSession session({folder_.path() / "missing"});
  EXPECT_FALSE(fetchAndMove(session, requestOf(server.url())).file);
  EXPECT_TRUE(server.heads().empty());
}

TEST_F(SoupHttpDownload, FullDiskLeavesNoFile) {
  const LoopbackServer server(respondWith(okResponse(std::string(300'000, 'x'))));
  // Writes to a file fail beyond 100,000 bytes.
  const FullDisk fullDisk(100'000);
  EXPECT_FALSE(fetchAndMove(server).file);
  EXPECT_TRUE(folderBecomesEmpty());
}

TEST_F(SoupHttpDownload, DestroyedSessionLeavesNoFile) {
  std::atomic<int> failed = 0;
  const LoopbackServer server(
      stallAfter("HTTP/1.1 200 OK\r\nContent-Length: 500000\r\n\r\n" + std::string(100'000, 'x')));
  {
    SoupHttpSession session({folder_.path()});
    for (int number = 0; number < 5; ++number) {
      session.downloadTask(requestOf(server.url()),
                           [&](const Download &download) { failed += download.file ? 0 : 1; });
    }
    ASSERT_TRUE(eventually([&] { return server.heads().size() == 5; }));
  }
  EXPECT_EQ(failed, 5);
  EXPECT_TRUE(folderBecomesEmpty());
}

TEST_F(SoupHttpDownload, BodyIsNotHeldInMemory) {
  if (hasSanitizer) GTEST_SKIP() << "a sanitizer retains freed memory";
  constexpr std::size_t bodySize = 300'000'000;
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(bodySize) + "\r\n\r\n");
    const std::string block(1'000'000, 'x');
    for (std::size_t sent = 0; sent < bodySize; sent += block.size()) client.send(block);
  });
  const auto peakMemory = [] {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    // ru_maxrss is in KiB.
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
  };
  const std::size_t before = peakMemory();
  EXPECT_TRUE(fetchAndMove(server).file);
  EXPECT_EQ(fs::file_size(target_), bodySize);
  // Far less than the body, with room for the buffers of the sockets and the allocator.
  EXPECT_LT(peakMemory() - before, bodySize / 10);
}

}  // namespace
}  // namespace orvel
