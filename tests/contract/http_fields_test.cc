// What servers receive of a request's fields: those of the application, and those
// to which they send it on.

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>

#include "tests/contract/contract_platform.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

bool toTheSamePort(const Url &from, const Url &to) {
  return from.host == to.host && from.port == to.port;
}

class HttpFieldsContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  HttpReplies::Reply ask(const std::string &address, const std::string &key = "een;\"sleutel\"",
                         const std::string &cookies = "a=b; c=d",
                         bool (*forwardsHeaders)(const Url &, const Url &) = toTheSamePort) {
    auto request = requestOf(address);
    request.setHeader("X-ORVEL-App", key);
    request.setHeader("Cookie", cookies);
    request.forwardsHeaders = forwardsHeaders;
    return fetch(platform_->ports().http, request);
  }
  static void expectFields(const std::string &head) {
    EXPECT_EQ(fieldIn(head, "X-ORVEL-App"), " een;\"sleutel\"");
    EXPECT_EQ(fieldIn(head, "Cookie"), " a=b; c=d");
  }
  static void expectNoFields(const std::string &head) {
    EXPECT_EQ(fieldIn(head, "X-ORVEL-App"), "(absent)");
    EXPECT_EQ(fieldIn(head, "Cookie"), "(absent)");
  }

  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(HttpFieldsContract, AreSentAsTheyStand) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send(answer("200 OK", "dag"));
  });
  const auto reply = ask(server.url("/a?b=c%20d"));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "dag");
  ASSERT_EQ(server.heads().size(), 1U);
  EXPECT_TRUE(server.heads()[0].starts_with("GET /a?b=c%20d HTTP/1.1\r\n")) << server.heads()[0];
  expectFields(server.heads()[0]);
}

TEST_P(HttpFieldsContract, AreSentWhenTheyAreEmptyToo) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "")); });
  EXPECT_EQ(ask(server.url(), "", "").status, 200);
  ASSERT_EQ(server.heads().size(), 1U);
  for (const char *name : {"X-ORVEL-App", "Cookie"}) {
    const std::string value = fieldIn(server.heads()[0], name);
    EXPECT_TRUE(value.empty() || value == " ") << name << ":" << value;
  }
}

TEST_P(HttpFieldsContract, HoldNoCookieOfAnotherAnswer) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send(answer("200 OK", "", "Set-Cookie: van=server; Path=/\r\n"));
  });
  ask(server.url());
  ask(server.url());
  ASSERT_EQ(server.heads().size(), 2U);
  expectFields(server.heads()[1]);
}

TEST_P(HttpFieldsContract, HoldNoCookieOfAnotherAnswerBehindARedirection) {
  const std::string cookie = "Set-Cookie: van=server; Path=/\r\n";
  LoopbackServer server([cookie](LoopbackConnection &client, const std::string &head) {
    client.send(head.starts_with("GET /nieuw ")
                    ? answer("200 OK", "", cookie)
                    : answer("302 Found", "", "Location: /nieuw\r\n" + cookie));
  });
  ask(server.url("/oud"));
  ask(server.url("/oud"));
  ASSERT_EQ(server.heads().size(), 4U);
  for (const std::string &head : server.heads()) expectFields(head);
}

TEST_P(HttpFieldsContract, GoAlongToTheSameOrigin) {
  for (const char *status :
       {"301 Moved", "302 Found", "303 See Other", "307 Temporary", "308 Permanent"}) {
    LoopbackServer server([status](LoopbackConnection &client, const std::string &head) {
      client.send(head.starts_with("GET /nieuw ") ? answer("200 OK", "daar")
                                                  : redirection("/nieuw", status));
    });
    const auto reply = ask(server.url("/oud"));
    EXPECT_EQ(reply.status, 200) << status;
    EXPECT_EQ(reply.body, "daar") << status;
    ASSERT_EQ(server.heads().size(), 2U) << status;
    expectFields(server.heads()[1]);
  }
}

TEST_P(HttpFieldsContract, GoAlongToAPathThatIsNotEscaped) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &head) {
    client.send(head.starts_with("GET /oud ") ? redirection("/a[1]|{b}^c.csv")
                                              : answer("200 OK", "daar"));
  });
  EXPECT_EQ(ask(server.url("/oud")).body, "daar");
  ASSERT_EQ(server.heads().size(), 2U);
  expectFields(server.heads()[1]);
}

TEST_P(HttpFieldsContract, StayBehindOnTheWayToAnotherOrigin) {
  for (const char *status :
       {"301 Moved", "302 Found", "303 See Other", "307 Temporary", "308 Permanent"}) {
    LoopbackServer other([](LoopbackConnection &client, const std::string &) {
      client.send(answer("200 OK", "elders"));
    });
    LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send(redirection(other.url("/nieuw"), status));
    });
    EXPECT_EQ(ask(server.url()).body, "elders") << status;
    ASSERT_EQ(server.heads().size(), 1U) << status;
    expectFields(server.heads()[0]);
    ASSERT_EQ(other.heads().size(), 1U) << status;
    expectNoFields(other.heads()[0]);
    EXPECT_EQ(fieldIn(other.heads()[0], "Host"), " 127.0.0.1:" + std::to_string(other.port()));
  }
}

TEST_P(HttpFieldsContract, StayBehindOnTheWayToAnotherNameOfTheHost) {
  std::promise<std::string> elsewhere;
  const auto target = elsewhere.get_future().share();
  LoopbackServer server([target](LoopbackConnection &client, const std::string &head) {
    client.send(head.starts_with("GET /nieuw ") ? answer("200 OK", "") : redirection(target.get()));
  });
  elsewhere.set_value("http://localhost:" + std::to_string(server.port()) + "/nieuw");
  EXPECT_EQ(ask(server.url("/oud")).status, 200);
  ASSERT_EQ(server.heads().size(), 2U);
  expectNoFields(server.heads()[1]);
}

TEST_P(HttpFieldsContract, FollowARedirectOnlyWhereTheRequestSaysSo) {
  LoopbackServer other(
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "")); });
  LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
    client.send(redirection(other.url("/b?c=d")));
  });
  const std::string key = "een;\"sleutel\"";
  const std::string cookies = "a=b; c=d";
  EXPECT_EQ(ask(server.url("/a"), key, cookies,
                [](const Url &from, const Url &to) {
                  return from.path == "/a" && to.path == "/b" && from.port && to.port &&
                         *from.port != *to.port;
                })
                .status,
            200);
  EXPECT_EQ(
      ask(server.url("/a"), key, cookies, [](const Url &, const Url &) { return false; }).status,
      200);
  EXPECT_EQ(ask(server.url("/a"), key, cookies, nullptr).status, 200);
  ASSERT_EQ(other.heads().size(), 3U);
  expectFields(other.heads()[0]);
  expectNoFields(other.heads()[1]);
  expectNoFields(other.heads()[2]);
}

TEST_P(HttpFieldsContract, AreNotGivenBackOnTheWayHome) {
  std::promise<std::string> elsewhere;
  const auto target = elsewhere.get_future().share();
  LoopbackServer home([target](LoopbackConnection &client, const std::string &head) {
    client.send(head.starts_with("GET /terug ") ? answer("200 OK", "") : redirection(target.get()));
  });
  LoopbackServer other([&](LoopbackConnection &client, const std::string &) {
    client.send(redirection(home.url("/terug")));
  });
  elsewhere.set_value(other.url());
  EXPECT_EQ(ask(home.url()).status, 200);
  ASSERT_EQ(home.heads().size(), 2U);
  expectNoFields(home.heads()[1]);
}

INSTANTIATE_TEST_SUITE_P(EveryDesktop, HttpFieldsContract,
                         testing::ValuesIn(desktopsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
