#include <atomic>

#include "tests/contract/contract_platform.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

class HttpSessionContract : public ContractTest {
 protected:
  /// Sends a request to a server whose response has status 200 and a body that fails. Expects
  /// one reply with a head and no body.
  void expectResponseWithoutBody(const LoopbackServer &server, std::chrono::milliseconds timeout) {
    UrlRequest request = requestOf(server.url("/api/wie"));
    request.timeout = timeout;
    platform->scriptResponse(request.url.absoluteString, 200, std::nullopt);
    DataReply received;
    int completions = 0;
    platform->interfaces().http.dataTask(request, [&](const DataReply &reply) {
      received = reply;
      queue().post([&] { ++completions; });
    });
    EXPECT_TRUE(runUntil([&] { return completions > 0; }));
    EXPECT_EQ(completions, 1);
    ASSERT_TRUE(received.response);
    EXPECT_EQ(received.response->statusCode, 200);
    EXPECT_EQ(received.body, std::nullopt);
  }
};

TEST_P(HttpSessionContract, RefusedConnectionCallsCompletionOnceOffMainThread) {
  const UrlRequest request = requestOf(refusedUrl("/api/wie"));
  constexpr int requestCount = 20;
  int completions = 0;
  std::atomic<int> nonEmptyReplies = 0;
  std::atomic<int> callsOnMainThread = 0;
  const auto completion = [&](const DataReply &reply) {
    if (reply.response || reply.body) ++nonEmptyReplies;
    if (platform->onMainThread()) ++callsOnMainThread;
    queue().post([&] { ++completions; });
  };
  for (int number = 0; number < requestCount; ++number) {
    platform->interfaces().http.dataTask(request, completion);
  }
  ASSERT_TRUE(runUntil([&] { return completions == requestCount; }));
  // A second call for an earlier request would arrive before the completion of this request.
  platform->interfaces().http.dataTask(request, completion);
  ASSERT_TRUE(runUntil([&] { return completions > requestCount; }));
  EXPECT_EQ(completions, requestCount + 1);
  EXPECT_EQ(nonEmptyReplies, 0);
  EXPECT_EQ(callsOnMainThread, 0);
}

TEST_P(HttpSessionContract, TruncatedBodyGivesResponseWithoutBody) {
  const LoopbackServer server(respondWith("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab"));
  expectResponseWithoutBody(server, std::chrono::seconds(60));
}

TEST_P(HttpSessionContract, BodyTimeoutGivesResponseWithoutBody) {
  const LoopbackServer server(stallAfter("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab"));
  expectResponseWithoutBody(server, std::chrono::seconds(1));
}

INSTANTIATE_ON_EVERY_PLATFORM(HttpSessionContract);

}  // namespace
}  // namespace orvel
