// The HTTP session on real sockets: many requests at once, and its own end.

#include "platform/linux/http/soup_http_session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <set>
#include <thread>

#include "tests/linux/http/unresponsive_port.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

TEST(SoupHttpSession, AnswersAHundredRequestsAtOnce) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    client.send(answer("200 OK", head.substr(0, head.find(" HTTP"))));
  });
  HttpReplies replies;
  SoupHttpSession session;
  for (int number = 0; number < 100; ++number) {
    const std::string path = "/" + std::to_string(number);
    session.dataTask(requestOf(server.url(path)), replies.completion("GET " + path));
  }
  const auto all = replies.wait(100);
  ASSERT_EQ(all.size(), 100U);
  std::set<std::string> names;
  std::set<std::thread::id> threads;
  for (const auto &reply : all) {
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, reply.name);
    names.insert(reply.name);
    threads.insert(reply.thread);
  }
  EXPECT_EQ(names.size(), 100U);
  ASSERT_EQ(threads.size(), 1U);
  EXPECT_NE(*threads.begin(), std::this_thread::get_id());
}

TEST(SoupHttpSession, WaitsForNoOtherRequest) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) client.waitForClient();
    client.send(answer("200 OK", ""));
  });
  HttpReplies silent;
  {
    SoupHttpSession session;
    for (int number = 0; number < 100; ++number) {
      session.dataTask(requestOf(server.url("/silent")), silent.completion());
    }
    EXPECT_EQ(fetch(session, requestOf(server.url())).status, 200);
  }
  EXPECT_EQ(silent.wait(100).size(), 100U);
}

// Deterministic: the completion returns only after the other request has been sent,
// answered and read to its end.
TEST(SoupHttpSession, ReadsAnswersWhileACompletionBlocks) {
  std::promise<void> answerWasRead;
  LoopbackServer server([&](LoopbackConnection &client, const std::string &head) {
    client.send(answer("200 OK", "x"));
    if (!head.starts_with("GET /meanwhile ")) return;
    client.waitForClient();
    answerWasRead.set_value();
  });
  HttpReplies replies;
  bool wasReadMeanwhile = false;
  SoupHttpSession session;
  session.dataTask(requestOf(server.url()), [&](const DataReply &) {
    session.dataTask(requestOf(server.url("/meanwhile")), replies.completion());
    wasReadMeanwhile =
        answerWasRead.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
  });
  const auto all = replies.wait(1);
  ASSERT_EQ(all.size(), 1U);
  EXPECT_TRUE(wasReadMeanwhile);
  EXPECT_EQ(all[0].status, 200);
}

TEST(SoupHttpSession, TakesRequestsFromEveryThread) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "")); });
  HttpReplies replies;
  SoupHttpSession session;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int number = 0; number < 10; ++number) {
        session.dataTask(requestOf(server.url()), replies.completion());
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  const auto all = replies.wait(40);
  EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const auto &reply) { return reply.status; }),
            40);
}

TEST(SoupHttpSession, TellsEveryRequestItsEndWhenItGoes) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /begun ")) client.send("HTTP/1.1 200 OK\r\n\r\nabc");
    client.waitForClient();
  });
  DeafPort deaf;
  deaf.fill();
  for (int round = 0; round < 20; ++round) {
    HttpReplies replies;
    auto held = std::make_shared<int>(1);
    {
      SoupHttpSession session;
      for (int number = 0; number < 5; ++number) {
        for (const auto &address : {server.url("/silent"), server.url("/begun"), deaf.url(),
                                    std::string("http://name.invalid/"), std::string("ftp://x")}) {
          session.dataTask(requestOf(address), [held, end = replies.completion()](
                                                   const DataReply &reply) { end(reply); });
        }
      }
      // Each round stops the requests elsewhere on their way.
      std::this_thread::sleep_for(milliseconds(round));
    }
    const auto all = replies.wait(0);
    ASSERT_EQ(all.size(), 25U);
    for (const auto &reply : all) EXPECT_EQ(reply.body, std::nullopt);
    EXPECT_EQ(held.use_count(), 1);
  }
}

TEST(SoupHttpSession, TellsTheEndOfARequestThatACompletionMakesWhenItGoes) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.waitForClient(); });
  HttpReplies replies;
  {
    SoupHttpSession session;
    session.dataTask(requestOf(server.url()), [&](const DataReply &) {
      session.dataTask(requestOf(server.url()), replies.completion());
    });
  }
  EXPECT_EQ(replies.wait(0).size(), 1U);
}

TEST(SoupHttpSession, WaitsForACompletionThatBlocksWhenItGoes) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "")); });
  HttpReplies replies;
  std::promise<void> blocking;
  std::promise<void> released;
  auto session = std::make_unique<SoupHttpSession>();
  session->dataTask(requestOf(server.url()), [&, own = session.get()](const DataReply &) {
    blocking.set_value();
    released.get_future().wait();
    own->dataTask(requestOf(server.url()), replies.completion("started by a completion"));
  });
  blocking.get_future().wait();
  session->dataTask(requestOf(server.url()), replies.completion("waiting behind it"));
  std::thread end([&] { session.reset(); });
  released.set_value();
  end.join();
  EXPECT_EQ(replies.wait(0).size(), 2U);
}

TEST(SoupHttpSession, ComesAndGoesWithoutARequest) {
  for (int round = 0; round < 20; ++round) SoupHttpSession session;
}

}  // namespace
}  // namespace orvel
