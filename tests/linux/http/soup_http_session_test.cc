#include "platform/linux/http/soup_http_session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <set>
#include <thread>

#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using std::chrono::milliseconds;

TEST(SoupHttpSession, ConcurrentRequestsOfSeveralThreadsCompleteOnOneThread) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    client.send(okResponse(head.substr(0, head.find(" HTTP"))));
  });
  HttpReplies replies;
  SoupHttpSession session;
  std::vector<std::thread> starters;
  for (const std::string thread : {"a", "b", "c", "d"}) {
    starters.emplace_back([&, thread] {
      for (int number = 0; number < 25; ++number) {
        const std::string path = "/" + thread + std::to_string(number);
        session.dataTask(requestOf(server.url(path)), replies.completion("GET " + path));
      }
    });
  }
  for (std::thread &starter : starters) starter.join();
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

TEST(SoupHttpSession, StalledRequestsDoNotBlockOthers) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) client.waitForClose();
    client.send(okResponse());
  });
  HttpReplies silent;
  {
    SoupHttpSession session;
    for (int number = 0; number < 100; ++number) {
      session.dataTask(requestOf(server.url("/silent")), silent.completion());
    }
    EXPECT_EQ(fetch(session, server.url()).status, 200);
  }
  EXPECT_EQ(silent.wait(100).size(), 100U);
}

TEST(SoupHttpSession, DestructionCompletesEveryRequestOnce) {
  const LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /begun ")) client.send("HTTP/1.1 200 OK\r\n\r\nabc");
    client.waitForClose();
  });
  // Requests that wait for a head, the rest of a body, a connection and the address of a host, and
  // one that is not sent.
  const std::vector<std::string> addresses{server.url("/silent"), server.url("/begun"),
                                           unresponsiveUrl(), "http://name.invalid/", "ftp://x"};
  for (int round = 0; round < 20; ++round) {
    HttpReplies replies;
    const auto captured = std::make_shared<int>(1);
    {
      SoupHttpSession session;
      for (int number = 0; number < 5; ++number) {
        for (const auto &address : addresses) {
          session.dataTask(requestOf(address), [captured, end = replies.completion()](
                                                   const DataReply &reply) { end(reply); });
        }
      }
      // Each round cancels the requests at a later stage.
      std::this_thread::sleep_for(milliseconds(round));
    }
    // The destructor has waited for the completions.
    const auto all = replies.wait(0);
    ASSERT_EQ(all.size(), 25U);
    for (const auto &reply : all) EXPECT_EQ(reply.body, std::nullopt);
    EXPECT_EQ(captured.use_count(), 1);
  }
}

TEST(SoupHttpSession, DestructionWaitsForBlockingCompletionAndItsRequest) {
  std::promise<void> blocking;
  std::promise<void> cancelled;
  const LoopbackServer server([&](LoopbackConnection &client, const std::string &head) {
    if (head.starts_with("GET /silent ")) {
      client.waitForClose();
      cancelled.set_value();
    }
    client.send(okResponse());
  });
  HttpReplies replies;
  auto session = std::make_unique<SoupHttpSession>();
  // Captures the pointer, because `session` is null while the destructor runs.
  session->dataTask(requestOf(server.url()),
                    [&, sessionPointer = session.get()](const DataReply &) {
                      blocking.set_value();
                      // The destructor cancels the silent request.
                      cancelled.get_future().wait();
                      sessionPointer->dataTask(requestOf(server.url()),
                                               replies.completion("started by a completion"));
                    });
  blocking.get_future().wait();
  session->dataTask(requestOf(server.url("/silent")),
                    replies.completion("started while the completion blocks"));
  ASSERT_TRUE(posix_test::eventually([&] { return server.heads().size() == 2; }));
  session.reset();
  // The destructor has waited for the completions.
  EXPECT_EQ(replies.wait(0).size(), 2U);
}

}  // namespace
}  // namespace orvel
