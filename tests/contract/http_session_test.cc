// What every platform promises of its HTTP session, and what a request is.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "tests/contract/contract_platform.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

TEST(UrlRequest, ReplacesAFieldOfTheSameName) {
  UrlRequest request;
  request.setHeader("Cookie", "a=b");
  request.setHeader("X-ORVEL-App", "one");
  request.setHeader("x-orvel-app", "two");
  EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                 {"Cookie", "a=b"}, {"x-orvel-app", "two"}}));
  request.headers.emplace_back("X-Orvel-App", "three");
  request.setHeader("X-ORVEL-App", "");
  EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                 {"Cookie", "a=b"}, {"X-ORVEL-App", ""}}));
}

TEST(UrlRequest, GivesAFieldByItsNameWithoutCase) {
  UrlRequest request;
  EXPECT_EQ(request.header("X-ORVEL-App"), std::nullopt);
  request.setHeader("X-ORVEL-App", "");
  EXPECT_EQ(request.header("x-orvel-APP"), "");
  EXPECT_EQ(request.header("X-ORVEL-Ap"), std::nullopt);
  EXPECT_EQ(request.header("X-ORVEL-Appl"), std::nullopt);
}

TEST(UrlRequest, WaitsAMinuteByDefault) {
  EXPECT_EQ(UrlRequest().timeout, std::chrono::seconds(60));
  EXPECT_EQ(UrlRequest().cachePolicy, CachePolicy::useProtocol);
}

class HttpSessionContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  /// Sends a request whose response has status 200 and a body that fails.
  DataReply fetchHead(const std::string &address,
                      std::chrono::milliseconds timeout = std::chrono::seconds(60)) {
    UrlRequest request;
    request.url = *Url::parse(address);
    request.timeout = timeout;
    platform_->answerNext(address, 200, std::nullopt);
    DataReply told;
    int completions = 0;
    platform_->ports().http.dataTask(request, [&](const DataReply &reply) {
      told = reply;
      platform_->ports().mainQueue.post([&] { ++completions; });
    });
    EXPECT_TRUE(platform_->runUntil([&] { return completions > 0; }));
    EXPECT_EQ(completions, 1);
    return told;
  }

  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(HttpSessionContract, TellsARefusedConnectionOnceAndOffTheMainThread) {
  UrlRequest request;
  request.url = *Url::parse("http://127.0.0.1:" + std::to_string(unusedPort()) + "/api/wie");
  constexpr int requests = 20;
  int completions = 0;
  std::atomic<int> answers = 0;
  std::atomic<int> onMain = 0;
  const auto completion = [&](const DataReply &reply) {
    if (reply.response || reply.body) ++answers;
    if (platform_->onMainThread()) ++onMain;
    platform_->ports().mainQueue.post([&] { ++completions; });
  };
  for (int number = 0; number < requests; ++number) {
    platform_->ports().http.dataTask(request, completion);
  }
  ASSERT_TRUE(platform_->runUntil([&] { return completions == requests; }));
  // One more, so that a second completion of an earlier one would have come.
  platform_->ports().http.dataTask(request, completion);
  ASSERT_TRUE(platform_->runUntil([&] { return completions > requests; }));
  EXPECT_EQ(completions, requests + 1);
  EXPECT_EQ(answers, 0);
  EXPECT_EQ(onMain, 0);
}

TEST_P(HttpSessionContract, DeliversTheHeadOfATruncatedBody) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab");
  });
  const DataReply reply = fetchHead(server.url("/api/wie"));
  ASSERT_TRUE(reply.response);
  EXPECT_EQ(reply.response->statusCode, 200);
  EXPECT_EQ(reply.body, std::nullopt);
}

TEST_P(HttpSessionContract, DeliversTheHeadOfABodyThatTimesOut) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab");
    client.waitForClient();
  });
  const DataReply reply = fetchHead(server.url("/api/wie"), std::chrono::seconds(1));
  ASSERT_TRUE(reply.response);
  EXPECT_EQ(reply.response->statusCode, 200);
  EXPECT_EQ(reply.body, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, HttpSessionContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
