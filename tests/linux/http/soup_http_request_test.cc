// What a server on a real socket sees of the application's requests.

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/linux/http/soup_http_session.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

class SoupHttpRequest : public testing::Test {
 protected:
  /// Sends a request and gives its head as the server received it.
  std::string headOf(const UrlRequest &request) {
    EXPECT_EQ(fetch(session_, request).status, 200);
    return server_.heads().back();
  }

  LoopbackServer server_{
      [](LoopbackConnection &client, const std::string &) { client.send(answer("200 OK", "")); }};
  SoupHttpSession session_;
};

TEST_F(SoupHttpRequest, IsAPlainGet) {
  const std::string head = headOf(requestOf(server_.url("/a/b?c=d%20e#f")));
  EXPECT_TRUE(head.starts_with("GET /a/b?c=d%20e HTTP/1.1\r\n")) << head;
  EXPECT_EQ(fieldIn(head, "Host"), " 127.0.0.1:" + std::to_string(server_.port()));
  for (const char *field : {"X-ORVEL-App", "Cookie", "Cache-Control", "Pragma", "Content-Length",
                            "Authorization", "Referer"}) {
    EXPECT_EQ(fieldIn(head, field), "(absent)") << field;
  }
  EXPECT_EQ(fieldIn(head, "Accept-Encoding"), " identity");
  EXPECT_EQ(fieldIn(head, "Connection"), " close");
  EXPECT_TRUE(headOf(requestOf(server_.url(""))).starts_with("GET / HTTP/1.1\r\n"));
}

TEST_F(SoupHttpRequest, CarriesItsFieldsToTheByte) {
  auto request = requestOf(server_.url());
  request.setHeader("X-ORVEL-App", "sl\tEu;\"tel\" \xC3\xA9\xff");
  request.setHeader("X-Lower-case", "  two blanks");
  request.setHeader("Cookie", "a=b; c=d");
  const std::string head = headOf(request);
  EXPECT_EQ(fieldIn(head, "X-ORVEL-App"), " sl\tEu;\"tel\" \xC3\xA9\xff");
  EXPECT_EQ(fieldIn(head, "X-Lower-case"), "   two blanks");
  EXPECT_EQ(fieldIn(head, "Cookie"), " a=b; c=d");
}

TEST_F(SoupHttpRequest, AsksForFreshDataWhenToldTo) {
  auto request = requestOf(server_.url());
  request.cachePolicy = CachePolicy::reloadIgnoringLocalData;
  request.setHeader("X-ORVEL-App", "key");
  const std::string head = headOf(request);
  EXPECT_EQ(fieldIn(head, "Cache-Control"), " no-cache");
  EXPECT_EQ(fieldIn(head, "Pragma"), " no-cache");
  EXPECT_EQ(fieldIn(head, "X-ORVEL-App"), " key");
}

TEST_F(SoupHttpRequest, IsNotSentWithAFieldThatWouldEndItsLine) {
  for (const auto &[name, value] :
       std::vector<std::pair<std::string, std::string>>{{"X-ORVEL-App", "key\r\nX-Evil: 1"},
                                                        {"X-ORVEL-App", "key\n"},
                                                        {"X-ORVEL-App", "\rkey"},
                                                        {"X-ORVEL-App", std::string("k\0y", 3)},
                                                        {"X-Evil: 1\r\nX", "key"},
                                                        {"X Y", "key"},
                                                        {"", "key"}}) {
    auto request = requestOf(server_.url());
    request.headers = {{name, value}};
    const auto reply = fetch(session_, request);
    EXPECT_EQ(reply.status, std::nullopt) << value;
    EXPECT_EQ(reply.body, std::nullopt);
  }
  EXPECT_TRUE(server_.heads().empty());
}

TEST_F(SoupHttpRequest, NeedsAnHttpAddress) {
  for (const char *address :
       {"ftp://127.0.0.1/", "file:///etc/hostname", "data:text/plain,x", "mailto:a@b", "a/b", "/a",
        "http://", "http:foo", "", "http://127.0.0.1:99999/", "resource:///org/gtk"}) {
    EXPECT_EQ(fetch(session_, requestOf(address)).status, std::nullopt) << address;
  }
}

TEST_F(SoupHttpRequest, ReachesThisMachineWithoutAProxy) {
  // A proxy that would refuse.
  ::setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(unusedPort())).c_str(), 1);
  ::setenv("no_proxy", "", 1);
  EXPECT_EQ(fetch(session_, requestOf(server_.url())).status, 200);
  EXPECT_EQ(fetch(session_, requestOf("http://localhost:" + std::to_string(server_.port()))).status,
            200);
  ::unsetenv("http_proxy");
  ::unsetenv("no_proxy");
}

TEST_F(SoupHttpRequest, KeepsNoCookies) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send(answer("200 OK", "", "Set-Cookie: a=b; Path=/\r\n"));
  });
  fetch(session_, requestOf(server.url()));
  fetch(session_, requestOf(server.url()));
  ASSERT_EQ(server.heads().size(), 2U);
  EXPECT_EQ(fieldIn(server.heads()[1], "Cookie"), "(absent)");
}

TEST_F(SoupHttpRequest, KeepsNoAnswers) {
  LoopbackServer server([](LoopbackConnection &client, const std::string &) {
    client.send(answer("200 OK", "x", "Cache-Control: max-age=1000\r\nETag: \"1\"\r\n"));
  });
  fetch(session_, requestOf(server.url()));
  EXPECT_EQ(fetch(session_, requestOf(server.url())).body, "x");
  ASSERT_EQ(server.heads().size(), 2U);
  EXPECT_EQ(fieldIn(server.heads()[1], "If-None-Match"), "(absent)");
}

using SoupHttpRedirects = SoupHttpRequest;

TEST_F(SoupHttpRedirects, EndInAFailureWhenTheyGoRound) {
  LoopbackServer server(
      [](LoopbackConnection &client, const std::string &) { client.send(redirection("/again")); });
  EXPECT_EQ(fetch(session_, requestOf(server.url())).status, std::nullopt);
  EXPECT_LE(server.heads().size(), 21U);
  EXPECT_GE(server.heads().size(), 10U);
}

TEST_F(SoupHttpRedirects, NeverLeaveHttp) {
  for (const char *target : {"file:///etc/hostname", "data:text/plain,x", "ftp://127.0.0.1/",
                             "http://", "http://[", "javascript:1"}) {
    const LoopbackServer server([target](LoopbackConnection &client, const std::string &) {
      client.send(redirection(target));
    });
    const auto reply = fetch(session_, requestOf(server.url()));
    EXPECT_NE(reply.status, 200) << target;
    EXPECT_EQ(server.heads().size(), 1U) << target;
  }
}

}  // namespace
}  // namespace orvel
