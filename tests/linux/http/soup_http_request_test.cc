#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/linux/http/soup_http_session.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

/// Returns whether the system's resolver finds a proxy for a URL.
bool hasProxy(const char *url) {
  char **proxies = g_proxy_resolver_lookup(g_proxy_resolver_get_default(), url, nullptr, nullptr);
  const bool found = proxies != nullptr && std::string(*proxies) != "direct://";
  g_strfreev(proxies);
  return found;
}

class SoupHttpRequest : public testing::Test {
 protected:
  /// Sends a request and returns its head as received by the server.
  std::string headOf(const UrlRequest &request) {
    EXPECT_EQ(fetch(session_, request).status, 200);
    return server_.heads().back();
  }

  const LoopbackServer server_{respondWith(okResponse())};
  SoupHttpSession session_;
};

TEST_F(SoupHttpRequest, GetRequestHasNoAppKeyCookieOrCacheFields) {
  const std::string head = headOf(requestOf(server_.url("/a/b?c=d%20e#f")));
  EXPECT_TRUE(head.starts_with("GET /a/b?c=d%20e HTTP/1.1\r\n")) << head;
  // headerField() returns all bytes after the colon, with the space, or "(absent)".
  EXPECT_EQ(headerField(head, "Host"), " 127.0.0.1:" + std::to_string(server_.port()));
  for (const char *field : {"X-ORVEL-App", "Cookie", "Cache-Control", "Pragma", "Content-Length",
                            "Authorization", "Referer"}) {
    EXPECT_EQ(headerField(head, field), "(absent)") << field;
  }
  EXPECT_EQ(headerField(head, "Accept-Encoding"), " identity");
  EXPECT_EQ(headerField(head, "Connection"), " close");
  EXPECT_TRUE(headOf(requestOf(server_.url(""))).starts_with("GET / HTTP/1.1\r\n"));
}

TEST_F(SoupHttpRequest, FieldValuesAreSentByteForByte) {
  auto request = requestOf(server_.url());
  request.headers = {{"X-ORVEL-App", "k\tEy;\"y\" \xC3\xA9\xff"},
                     {"X-Lower-case", "  two blanks"},
                     {"Cookie", "a=b; c=d"}};
  const std::string head = headOf(request);
  for (const auto &[name, value] : request.headers) {
    EXPECT_EQ(headerField(head, name), " " + value) << name;
  }
}

TEST_F(SoupHttpRequest, ReloadPolicySendsNoCache) {
  auto request = requestOf(server_.url());
  request.cachePolicy = CachePolicy::reloadIgnoringLocalData;
  request.headers["X-ORVEL-App"] = "key";
  const std::string head = headOf(request);
  EXPECT_EQ(headerField(head, "Cache-Control"), " no-cache");
  EXPECT_EQ(headerField(head, "Pragma"), " no-cache");
  EXPECT_EQ(headerField(head, "X-ORVEL-App"), " key");
}

TEST_F(SoupHttpRequest, RequestWithInvalidFieldIsNotSent) {
  const std::vector<std::pair<std::string, std::string>> fields{
      {"X-ORVEL-App", "key\r\nX-Evil: 1"},
      {"X-ORVEL-App", "key\n"},
      {"X-ORVEL-App", "\rkey"},
      {"X-ORVEL-App", {'k', '\0', 'y'}},
      {"X-Evil: 1\r\nX", "key"},
      {"X Y", "key"},
      {"", "key"},
  };
  for (const auto &field : fields) {
    auto request = requestOf(server_.url());
    request.headers = {field};
    const auto reply = fetch(session_, request);
    EXPECT_EQ(reply.status, std::nullopt) << field.first << ": " << field.second;
    EXPECT_EQ(reply.body, std::nullopt);
  }
  EXPECT_TRUE(server_.heads().empty());
}

TEST_F(SoupHttpRequest, AddressOtherThanHttpUrlFails) {
  for (const char *address :
       {"ftp://127.0.0.1/", "file:///etc/hostname", "data:text/plain,x", "mailto:a@b", "a/b", "/a",
        "http://", "http:foo", "", "http://127.0.0.1:99999/", "resource:///org/gtk"}) {
    EXPECT_EQ(fetch(session_, address).status, std::nullopt) << address;
  }
}

TEST_F(SoupHttpRequest, OnlyLoopbackAddressBypassesProxy) {
  ::setenv("http_proxy", server_.url().c_str(), 1);
  // The values that the machine has set could contain the loopback addresses.
  for (const char *exclusions : {"no_proxy", "NO_PROXY"}) ::setenv(exclusions, "", 1);
  const bool isProxySet = hasProxy("http://127.0.0.1/");
  EXPECT_EQ(fetch(session_, server_.url()).status, 200);
  EXPECT_EQ(fetch(session_, "http://LOCALHOST:" + std::to_string(server_.port())).status, 200);
  if (isProxySet) fetch(session_, "http://127.example.test/");
  for (const char *variable : {"http_proxy", "no_proxy", "NO_PROXY"}) ::unsetenv(variable);
  if (!isProxySet) GTEST_SKIP() << "the system's resolver does not read the environment";
  const auto heads = server_.heads();
  ASSERT_EQ(heads.size(), 3U);
  EXPECT_TRUE(heads[0].starts_with("GET / ")) << heads[0];
  EXPECT_TRUE(heads[1].starts_with("GET / ")) << heads[1];
  // A request to a proxy names the whole URL.
  EXPECT_TRUE(heads[2].starts_with("GET http://127.example.test/ ")) << heads[2];
}

TEST_F(SoupHttpRequest, ResponsesAreNotCached) {
  const LoopbackServer server(
      respondWith(okResponse("x", "Cache-Control: max-age=1000\r\nETag: \"1\"\r\n")));
  fetch(session_, server.url());
  EXPECT_EQ(fetch(session_, server.url()).body, "x");
  ASSERT_EQ(server.heads().size(), 2U);
  EXPECT_EQ(headerField(server.heads()[1], "If-None-Match"), "(absent)");
}

TEST_F(SoupHttpRequest, EndlessRedirectFailsAfterAtMostTwentyRedirects) {
  const LoopbackServer server(respondWith(redirectTo("/again")));
  EXPECT_EQ(fetch(session_, server.url()).status, std::nullopt);
  // The first request and its redirects. The lower bound shows that redirects are followed.
  EXPECT_LE(server.heads().size(), 21U);
  EXPECT_GE(server.heads().size(), 10U);
}

TEST_F(SoupHttpRequest, RedirectToAnotherSchemeOrMalformedUrlIsNotFollowed) {
  for (const char *target : {"file:///etc/hostname", "data:text/plain,x", "ftp://127.0.0.1/",
                             "http://", "http://[", "javascript:1"}) {
    const LoopbackServer server(respondWith(redirectTo(target)));
    EXPECT_NE(fetch(session_, server.url()).status, 200) << target;
    EXPECT_EQ(server.heads().size(), 1U) << target;
  }
}

}  // namespace
}  // namespace orvel
