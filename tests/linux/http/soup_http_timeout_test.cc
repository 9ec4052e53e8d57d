// How long the HTTP session waits for a server on a real socket.

#include <gtest/gtest.h>

#include "platform/linux/http/soup_http_session.h"
#include "tests/linux/http/unresponsive_port.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// How long a request with that timeout takes to fail.
milliseconds timeToFail(const std::string &address, milliseconds timeout,
                        std::optional<int> status = std::nullopt) {
  SoupHttpSession session;
  auto request = requestOf(address);
  request.timeout = timeout;
  const auto start = steady_clock::now();
  const auto reply = fetch(session, request);
  EXPECT_EQ(reply.status, status);
  EXPECT_EQ(reply.body, std::nullopt);
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

TEST(SoupHttpTimeout, EndsARequestThatIsNeverAnswered) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.waitForClient(); });
  const auto took = timeToFail(server.url(), milliseconds(350));
  EXPECT_GE(took, milliseconds(350));
  // A busy machine's delay, and far below the default time-out.
  EXPECT_LT(took, milliseconds(20'000));
}

TEST(SoupHttpTimeout, EndsARequestWhoseAnswerStops) {
  using Case = std::pair<const char *, std::optional<int>>;
  for (const auto &[bytes, status] :
       {Case{"HTTP/1.1 200 OK\r\nConte", std::nullopt},
        Case{"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab", 200}}) {
    LoopbackServer server([bytes = bytes](LoopbackConnection &client, const std::string &) {
      client.send(bytes);
      client.waitForClient();
    });
    EXPECT_GE(timeToFail(server.url(), milliseconds(300), status), milliseconds(300));
  }
}

TEST(SoupHttpTimeout, EndsARequestThatNobodyAccepts) {
  const DeafPort port;
  EXPECT_GE(timeToFail(port.url(), milliseconds(300)), milliseconds(300));
}

TEST(SoupHttpTimeout, CountsTheTimeToConnect) {
  DeafPort port;
  port.fill();
  const auto took = timeToFail(port.url(), milliseconds(300));
  EXPECT_GE(took, milliseconds(300));
  EXPECT_LT(took, milliseconds(20'000));
}

TEST(SoupHttpTimeout, StartsAgainWithEveryByte) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.dribble(answer("200 OK", "slow but sure"), milliseconds(40));
  });
  SoupHttpSession session;
  auto request = requestOf(server.url());
  // The answer takes twice as long, in pauses a twenty-fifth of it.
  request.timeout = milliseconds(1000);
  const auto start = steady_clock::now();
  const auto reply = fetch(session, request);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "slow but sure");
  EXPECT_GT(steady_clock::now() - start, request.timeout);
}

TEST(SoupHttpTimeout, IsOfEachRequestItsOwn) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) {
      client.waitForClient();
    } else {
      client.dribble(answer("200 OK", ""), milliseconds(20));
    }
  });
  SoupHttpSession session;
  HttpReplies replies;
  auto silent = requestOf(server.url("/silent"));
  silent.timeout = milliseconds(200);
  session.dataTask(requestOf(server.url("/slow")), replies.completion("slow"));
  session.dataTask(silent, replies.completion("silent"));
  const auto all = replies.wait(2);
  ASSERT_EQ(all.size(), 2U);
  for (const auto &reply : all) EXPECT_EQ(reply.status.has_value(), reply.name == "slow");
}

TEST(SoupHttpTimeout, IsNotUsedUpByACompletionThatBlocks) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "x")); });
  HttpReplies replies;
  SoupHttpSession session;
  auto request = requestOf(server.url());
  request.timeout = milliseconds(500);
  session.dataTask(request, [&](const DataReply &) {
    // The answers of the others lie ready long before this ends.
    session.dataTask(request, replies.completion());
    std::this_thread::sleep_for(milliseconds(1000));
  });
  session.dataTask(request, replies.completion());
  for (const auto &reply : replies.wait(2)) EXPECT_EQ(reply.status, 200);
}

}  // namespace
}  // namespace orvel
