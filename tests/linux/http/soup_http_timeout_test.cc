// Timeouts of the HTTP session on real sockets. The tests compare the order in which
// requests end, so that they do not depend on the speed of the machine.

#include <gtest/gtest.h>

#include <future>

#include "platform/linux/http/soup_http_session.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

UrlRequest requestWithTimeout(const std::string &address, milliseconds timeout) {
  auto request = requestOf(address);
  request.timeout = timeout;
  return request;
}

TEST(SoupHttpTimeout, UnansweredConnectionAndMissingOrPartialHeadTimeOut) {
  const LoopbackServer silent(stallAfter(""));
  const LoopbackServer partial(stallAfter("HTTP/1.1 200 OK\r\nConte"));
  for (const std::string &address : {unresponsiveUrl(), silent.url(), partial.url()}) {
    HttpReplies replies;
    SoupHttpSession session;
    session.dataTask(requestOf(address), replies.completion("default timeout"));
    const auto request = requestWithTimeout(address, milliseconds(300));
    const auto start = std::chrono::steady_clock::now();
    session.dataTask(request, replies.completion("short timeout"));
    const auto ended = replies.wait(1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, request.timeout);
    ASSERT_EQ(ended.size(), 1U) << address;
    EXPECT_EQ(ended[0].name, "short timeout");
    EXPECT_EQ(ended[0].status, std::nullopt) << address;
    EXPECT_EQ(ended[0].body, std::nullopt) << address;
  }
}

TEST(SoupHttpTimeout, EveryByteRestartsTimeout) {
  std::promise<void> silentRequestEnded;
  const auto ended = silentRequestEnded.get_future().share();
  // Sends a byte every 40 ms, far more often than the timeout of 1 s requires.
  const auto sendSlowly = [&ended](LoopbackConnection &client) {
    while (ended.wait_for(milliseconds(40)) == std::future_status::timeout) client.send("x");
  };
  const LoopbackServer server([&](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) return client.waitForClose();
    const bool isHeadSlow = head.starts_with("GET /slow-head ");
    client.send("HTTP/1.0 200 OK\r\nX-Field: ");
    if (isHeadSlow) sendSlowly(client);
    client.send("\r\n\r\n");
    if (!isHeadSlow) sendSlowly(client);
  });
  HttpReplies replies;
  SoupHttpSession session;
  // The silent request starts last. If a byte did not restart the timeout, the other requests would
  // end before it.
  for (const std::string name : {"/slow-head", "/slow-body", "/silent"}) {
    session.dataTask(requestWithTimeout(server.url(name), milliseconds(1000)),
                     replies.completion(name));
  }
  const auto first = replies.wait(1);
  silentRequestEnded.set_value();
  ASSERT_EQ(first.size(), 1U);
  EXPECT_EQ(first[0].name, "/silent");
  const auto all = replies.wait(3);
  ASSERT_EQ(all.size(), 3U);
  for (const auto &reply : all) {
    EXPECT_EQ(reply.body.has_value(), reply.name != "/silent") << reply.name;
  }
}

TEST(SoupHttpTimeout, ResponsesAreReadInTimeWhileCompletionBlocks) {
  std::promise<void> silentRequestTimedOut;
  const LoopbackServer server([&](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) {
      client.waitForClose();
      silentRequestTimedOut.set_value();
    } else {
      client.send(okResponse());
    }
  });
  HttpReplies replies;
  HttpReplies silent;
  SoupHttpSession session;
  const auto request = requestWithTimeout(server.url(), milliseconds(500));
  session.dataTask(request, [&](const DataReply &) {
    session.dataTask(request, replies.completion());
    // The silent request starts last. If the session did not read meanwhile, the other requests
    // would time out before it.
    session.dataTask(requestWithTimeout(server.url("/silent"), request.timeout),
                     silent.completion());
    silentRequestTimedOut.get_future().wait_for(std::chrono::seconds(60));
  });
  session.dataTask(request, replies.completion());
  const auto all = replies.wait(2);
  ASSERT_EQ(all.size(), 2U);
  for (const auto &reply : all) EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(silent.wait(1).at(0).status, std::nullopt);
}

}  // namespace
}  // namespace orvel
