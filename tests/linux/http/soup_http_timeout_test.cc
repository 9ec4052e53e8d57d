// Timeouts of the HTTP session on real sockets.

#include <gtest/gtest.h>

#include "platform/linux/http/soup_http_session.h"
#include "tests/linux/http/unresponsive_port.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

UrlRequest requestWithTimeout(const std::string &address, milliseconds timeout) {
  auto request = requestOf(address);
  request.timeout = timeout;
  return request;
}

/// Returns how long a request that gets no response takes to fail.
milliseconds timeToFail(const std::string &address, milliseconds timeout) {
  SoupHttpSession session;
  const auto start = steady_clock::now();
  const auto reply = fetch(session, requestWithTimeout(address, timeout));
  EXPECT_EQ(reply.status, std::nullopt);
  EXPECT_EQ(reply.body, std::nullopt);
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

TEST(SoupHttpTimeout, RequestWithoutResponseTimesOut) {
  const LoopbackServer server(stallAfter(""));
  const auto took = timeToFail(server.url(), milliseconds(350));
  EXPECT_GE(took, milliseconds(350));
  // Far below the default timeout of 60 seconds, and long enough for a busy machine.
  EXPECT_LT(took, milliseconds(20'000));
}

TEST(SoupHttpTimeout, StalledHeadTimesOut) {
  const LoopbackServer server(stallAfter("HTTP/1.1 200 OK\r\nConte"));
  EXPECT_GE(timeToFail(server.url(), milliseconds(300)), milliseconds(300));
}

TEST(SoupHttpTimeout, ConnectionThatIsNotAcceptedTimesOut) {
  const UnresponsivePort port;
  EXPECT_GE(timeToFail(port.url(), milliseconds(300)), milliseconds(300));
}

TEST(SoupHttpTimeout, ConnectingCountsTowardsTimeout) {
  UnresponsivePort port;
  port.fillBacklog();
  const auto took = timeToFail(port.url(), milliseconds(300));
  EXPECT_GE(took, milliseconds(300));
  // As above: only a request that ignores its own timeout takes this long.
  EXPECT_LT(took, milliseconds(20'000));
}

TEST(SoupHttpTimeout, EveryByteRestartsTimeout) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.sendSlowly(okResponse("slow but sure"), milliseconds(40));
  });
  SoupHttpSession session;
  // The response takes twice as long as the timeout, each pause a twenty-fifth of it.
  const auto request = requestWithTimeout(server.url(), milliseconds(1000));
  const auto start = steady_clock::now();
  const auto reply = fetch(session, request);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "slow but sure");
  EXPECT_GT(steady_clock::now() - start, request.timeout);
}

TEST(SoupHttpTimeout, EachRequestHasItsOwnTimeout) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) {
      client.waitForClose();
    } else {
      client.sendSlowly(okResponse(), milliseconds(20));
    }
  });
  SoupHttpSession session;
  HttpReplies replies;
  session.dataTask(requestOf(server.url("/slow")), replies.completion("slow"));
  session.dataTask(requestWithTimeout(server.url("/silent"), milliseconds(200)),
                   replies.completion("silent"));
  const auto all = replies.wait(2);
  ASSERT_EQ(all.size(), 2U);
  for (const auto &reply : all) EXPECT_EQ(reply.status.has_value(), reply.name == "slow");
}

TEST(SoupHttpTimeout, BlockingCompletionDoesNotCountTowardsTimeout) {
  const LoopbackServer server(respondWith(okResponse("x")));
  HttpReplies replies;
  SoupHttpSession session;
  const auto request = requestWithTimeout(server.url(), milliseconds(500));
  session.dataTask(request, [&](const DataReply &) {
    // The other responses arrive long before this completion returns.
    session.dataTask(request, replies.completion());
    std::this_thread::sleep_for(milliseconds(1000));
  });
  session.dataTask(request, replies.completion());
  for (const auto &reply : replies.wait(2)) EXPECT_EQ(reply.status, 200);
}

}  // namespace
}  // namespace orvel
