#include <future>

#include "tests/contract/contract_platform.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

// The app key, which is sent in the header field X-ORVEL-App, and the cookies. They have quotes and
// separators that an HTTP library could change.
constexpr const char *sentKey = "a;\"key\"";
constexpr const char *sentCookies = "a=b; c=d";
constexpr const char *redirectStatuses[] = {"301 Moved", "302 Found", "303 See Other",
                                            "307 Temporary", "308 Permanent"};

bool hasSameHostAndPort(const Url &from, const Url &to) {
  return from.host == to.host && from.port == to.port;
}

/// Responds to requests for paths that begin with "/new" with the body "new", and redirects all
/// others. Redirects wait for `setTarget`, which must be called once, so that their target can
/// contain the port of this server or of one that starts later.
class RedirectingServer {
 public:
  std::string url() const { return server_.url("/old"); }
  std::string newUrl() const { return server_.url("/new"); }
  int port() const { return server_.port(); }
  std::vector<std::string> heads() const { return server_.heads(); }
  void setTarget(const std::string &location, const std::string &status = "302 Found") {
    redirect_.set_value(redirectTo(location, status));
  }

 private:
  std::promise<std::string> redirect_;
  LoopbackServer server_{[redirect = redirect_.get_future().share()](LoopbackConnection &client,
                                                                     const std::string &head) {
    client.send(head.starts_with("GET /new") ? okResponse("new") : redirect.get());
  }};
};

class HttpFieldsContract : public ContractTest {
 protected:
  /// Sends a request with the key and the cookies, and waits for the reply. `forwardsHeaders`
  /// decides whether a redirect gets them, given the URLs of the request and of the redirect.
  HttpReplies::Reply sendKeyAndCookies(const std::string &address,
                                       bool (*forwardsHeaders)(const Url &,
                                                               const Url &) = hasSameHostAndPort) {
    auto request = requestOf(address);
    request.headers = {{"X-ORVEL-App", sentKey}, {"Cookie", sentCookies}};
    request.forwardsHeaders = forwardsHeaders;
    return fetch(platform->interfaces().http, request);
  }
  // headerField() keeps the space after the colon, and returns "(absent)" for a missing field.
  static void expectKeyAndCookies(const std::string &head) {
    EXPECT_EQ(headerField(head, "X-ORVEL-App"), std::string(" ") + sentKey);
    EXPECT_EQ(headerField(head, "Cookie"), std::string(" ") + sentCookies);
  }
  static void expectNeitherKeyNorCookies(const std::string &head) {
    EXPECT_EQ(headerField(head, "X-ORVEL-App"), "(absent)");
    EXPECT_EQ(headerField(head, "Cookie"), "(absent)");
  }
};

TEST_P(HttpFieldsContract, KeyCookiesAndRequestTargetAreSentUnchanged) {
  const LoopbackServer server(respondWith(okResponse("hello")));
  const auto reply = sendKeyAndCookies(server.url("/a?b=c%20d"));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "hello");
  ASSERT_EQ(server.heads().size(), 1U);
  EXPECT_TRUE(server.heads()[0].starts_with("GET /a?b=c%20d HTTP/1.1\r\n")) << server.heads()[0];
  expectKeyAndCookies(server.heads()[0]);
}

TEST_P(HttpFieldsContract, EmptyHeaderFieldsAreSent) {
  const LoopbackServer server(respondWith(okResponse()));
  auto request = requestOf(server.url());
  request.headers = {{"X-ORVEL-App", ""}, {"Cookie", ""}};
  EXPECT_EQ(fetch(platform->interfaces().http, request).status, 200);
  ASSERT_EQ(server.heads().size(), 1U);
  for (const char *name : {"X-ORVEL-App", "Cookie"}) {
    const std::string value = headerField(server.heads()[0], name);
    EXPECT_TRUE(value.empty() || value == " ") << name << ":" << value;
  }
}

TEST_P(HttpFieldsContract, CookiesSetByResponsesAreNotSent) {
  const std::string cookie = "Set-Cookie: from=server; Path=/\r\n";
  const LoopbackServer server([cookie](LoopbackConnection &client, const std::string &head) {
    client.send(head.starts_with("GET /new ")
                    ? okResponse("", cookie)
                    : response("302 Found", "", "Location: /new\r\n" + cookie));
  });
  for (const char *path : {"/new", "/new", "/old", "/old"}) sendKeyAndCookies(server.url(path));
  // Each request for /old is followed by one for /new.
  ASSERT_EQ(server.heads().size(), 6U);
  for (const std::string &head : server.heads()) expectKeyAndCookies(head);
}

TEST_P(HttpFieldsContract, RedirectWithinOriginKeepsHeaderFields) {
  const auto expectKept = [this](const std::string &location, const std::string &status) {
    SCOPED_TRACE(status);
    RedirectingServer server;
    server.setTarget(location, status);
    const auto reply = sendKeyAndCookies(server.url());
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "new");
    ASSERT_EQ(server.heads().size(), 2U);
    expectKeyAndCookies(server.heads()[1]);
  };
  for (const std::string status : redirectStatuses) expectKept("/new", status);
  // The reason phrase of this status names the case in failure messages.
  expectKept("/new[1]|{b}^c.csv", "302 with unescaped characters");
}

TEST_P(HttpFieldsContract, RedirectToAnotherOriginDropsHeaderFields) {
  for (const std::string status : redirectStatuses) {
    SCOPED_TRACE(status);
    const LoopbackServer other(respondWith(okResponse("other")));
    RedirectingServer server;
    server.setTarget(other.url("/b"), status);
    EXPECT_EQ(sendKeyAndCookies(server.url()).body, "other");
    ASSERT_EQ(server.heads().size(), 1U);
    expectKeyAndCookies(server.heads()[0]);
    ASSERT_EQ(other.heads().size(), 1U);
    expectNeitherKeyNorCookies(other.heads()[0]);
    EXPECT_EQ(headerField(other.heads()[0], "Host"), " 127.0.0.1:" + std::to_string(other.port()));
  }
}

TEST_P(HttpFieldsContract, RedirectToAnotherNameOfSameHostDropsHeaderFields) {
  RedirectingServer server;
  server.setTarget("http://localhost:" + std::to_string(server.port()) + "/new");
  EXPECT_EQ(sendKeyAndCookies(server.url()).status, 200);
  ASSERT_EQ(server.heads().size(), 2U);
  expectNeitherKeyNorCookies(server.heads()[1]);
}

TEST_P(HttpFieldsContract, ForwardsHeadersCallbackDecidesWhetherRedirectKeepsHeaderFields) {
  const LoopbackServer other(respondWith(okResponse()));
  RedirectingServer server;
  server.setTarget(other.url("/b?c=d"));
  const auto accept = [](const Url &from, const Url &to) {
    return from.path == "/old" && to.path == "/b" && from.port && to.port && *from.port != *to.port;
  };
  const auto reject = [](const Url &, const Url &) { return false; };
  EXPECT_EQ(sendKeyAndCookies(server.url(), accept).status, 200);
  EXPECT_EQ(sendKeyAndCookies(server.url(), reject).status, 200);
  EXPECT_EQ(sendKeyAndCookies(server.url(), /*forwardsHeaders=*/nullptr).status, 200);
  ASSERT_EQ(other.heads().size(), 3U);
  expectKeyAndCookies(other.heads()[0]);
  expectNeitherKeyNorCookies(other.heads()[1]);
  expectNeitherKeyNorCookies(other.heads()[2]);
}

TEST_P(HttpFieldsContract, RedirectBackToFirstOriginDoesNotRestoreHeaderFields) {
  RedirectingServer first;
  RedirectingServer other;
  first.setTarget(other.url());
  other.setTarget(first.newUrl());
  EXPECT_EQ(sendKeyAndCookies(first.url()).status, 200);
  ASSERT_EQ(first.heads().size(), 2U);
  expectNeitherKeyNorCookies(first.heads()[1]);
}

INSTANTIATE_ON_DESKTOP_PLATFORMS(HttpFieldsContract);

}  // namespace
}  // namespace orvel
