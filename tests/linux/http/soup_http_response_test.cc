// What becomes of answers, good and bad, that come over a real socket.

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/linux/glib/gobject_pointer.h"
#include "platform/linux/http/soup_http_session.h"
#include "tests/support/http_replies.h"
#include "tests/support/loopback_server.h"

namespace orvel {
namespace {

class SoupHttpAnswer : public testing::Test {
 protected:
  /// What becomes of a request that is answered with these bytes, after which
  /// the connection closes.
  HttpReplies::Reply replyTo(const std::string &bytes) {
    LoopbackServer server(
        [&](LoopbackConnection &client, const std::string &) { client.send(bytes); });
    return fetch(session_, requestOf(server.url()));
  }
  void expectNothing(const std::string &bytes) {
    const auto reply = replyTo(bytes);
    EXPECT_EQ(reply.status, std::nullopt) << bytes;
    EXPECT_EQ(reply.body, std::nullopt) << bytes;
  }
  void expectHeadAlone(const std::string &bytes) {
    const auto reply = replyTo(bytes);
    EXPECT_EQ(reply.status, 200) << bytes;
    EXPECT_EQ(reply.body, std::nullopt) << bytes;
  }

  SoupHttpSession session_;
};

TEST_F(SoupHttpAnswer, GivesEveryStatusAndBody) {
  for (const char *status : {"200 OK", "201 Created", "401 Unauthorized", "403 Forbidden",
                             "404 Not Found", "500 Broken", "503 Busy", "299 Odd"}) {
    const auto reply = replyTo(answer(status, "the body"));
    EXPECT_EQ(reply.status, std::stoi(status));
    EXPECT_EQ(reply.body, "the body");
  }
  for (const char *status : {"204 No Content", "304 Not Modified"}) {
    const auto reply = replyTo("HTTP/1.1 " + std::string(status) + "\r\n\r\n");
    EXPECT_EQ(reply.status, std::stoi(status));
    EXPECT_EQ(reply.body, "");
  }
  EXPECT_EQ(replyTo("HTTP/1.1 304 Not Modified\r\nContent-Length: 9\r\n\r\n").status, 304);
}

TEST_F(SoupHttpAnswer, AsksNobodyForAPassword) {
  const auto reply =
      replyTo(answer("401 Unauthorized", "no", "WWW-Authenticate: Basic realm=\"os\"\r\n"));
  EXPECT_EQ(reply.status, 401);
  EXPECT_EQ(reply.body, "no");
}

TEST_F(SoupHttpAnswer, GivesTheWholeBodyInEveryFraming) {
  const std::string bytes("a\0\r\n\xff", 5);
  EXPECT_EQ(replyTo(answer("200 OK", bytes)).body, bytes);
  EXPECT_EQ(replyTo("HTTP/1.0 200 OK\r\n\r\n" + bytes).body, bytes);
  EXPECT_EQ(replyTo("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + bytes).body, bytes);
  EXPECT_EQ(replyTo("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                    "3\r\nabc\r\n5;x=y\r\n" +
                    bytes + "\r\n0\r\n\r\n")
                .body,
            "abc" + bytes);
  EXPECT_EQ(replyTo("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n").body, "");
  EXPECT_EQ(replyTo("HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + answer("200 OK", "x")).body,
            "x");
  std::string large;
  large.resize(20'000'000, 'x');
  EXPECT_EQ(replyTo(answer("200 OK", large)).body, large);
}

TEST_F(SoupHttpAnswer, UndoesACompressionThatNobodyAskedFor) {
  // "inhoud", by gzip.
  const std::string packed(
      "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\xcb\xcc\xcb"
      "\xc8\x2f\x4d\x01\x00\x1e\x4d\xb5\x1d\x06\x00\x00\x00",
      26);
  EXPECT_EQ(replyTo(answer("200 OK", packed, "Content-Encoding: gzip\r\n")).body, "inhoud");
  EXPECT_EQ(replyTo("HTTP/1.1 200 OK\r\nContent-Encoding: X-GZIP\r\n\r\n" + packed).body, "inhoud");
  EXPECT_EQ(replyTo(answer("200 OK", packed, "Content-Encoding: identity\r\n")).body, packed);
  for (std::size_t size = 0; size < packed.size(); ++size) {
    expectHeadAlone(answer("200 OK", packed.substr(0, size), "Content-Encoding: gzip\r\n"));
  }
  std::string wrongSum = packed;
  wrongSum[packed.size() - 8] ^= 1;
  expectHeadAlone(answer("200 OK", wrongSum, "Content-Encoding: gzip\r\n"));
}

TEST_F(SoupHttpAnswer, HasTheHeadAloneWhenTheEncodingIsUnknown) {
  expectHeadAlone(answer("200 OK", "inhoud", "Content-Encoding: br\r\n"));
}

TEST_F(SoupHttpAnswer, TakesABodyOfManyBlocks) {
  std::string body(8'000'000, '\0');
  std::minstd_rand number;
  std::generate(body.begin(), body.end(), [&] { return static_cast<char>(number()); });
  const auto compressor = adopt(g_zlib_compressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP, 1));
  std::string packed(2 * body.size(), '\0');
  gsize read = 0;
  gsize written = 0;
  ASSERT_EQ(
      g_converter_convert(G_CONVERTER(compressor.get()), body.data(), body.size(), packed.data(),
                          packed.size(), G_CONVERTER_INPUT_AT_END, &read, &written, nullptr),
      G_CONVERTER_FINISHED);
  packed.resize(written);

  // Not by EXPECT_EQ, which would print them.
  EXPECT_TRUE(replyTo(answer("200 OK", body)).body == body);
  EXPECT_TRUE(replyTo(answer("200 OK", packed, "Content-Encoding: gzip\r\n")).body == body);
  expectHeadAlone(answer("200 OK", packed.substr(0, written / 2), "Content-Encoding: gzip\r\n"));
}

TEST_F(SoupHttpAnswer, FailsWhenTheConnectionIsRefused) {
  const auto reply =
      fetch(session_, requestOf("http://127.0.0.1:" + std::to_string(unusedPort()) + "/"));
  EXPECT_EQ(reply.status, std::nullopt);
}

TEST_F(SoupHttpAnswer, HasNoResponseWhenTheHeadIsTruncated) {
  expectNothing("");
  expectNothing("HTT");
  expectNothing("HTTP/1.1 200 O");
  expectNothing("HTTP/1.1 200 OK\r");
  expectNothing("HTTP/1.1 200 OK\r\nContent-Le");
  expectNothing("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r");
}

TEST_F(SoupHttpAnswer, HasTheHeadAloneWhenTheBodyIsTruncated) {
  // libsoup accepts a head without the empty line at its end.
  expectHeadAlone("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n");
  expectHeadAlone("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n");
  expectHeadAlone("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n");
  expectHeadAlone("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nabcd");
  expectHeadAlone("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 5\r\n\r\nabcd");
  expectHeadAlone("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabcd");
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (const char *body : {"", "5", "5\r\n", "5\r\nab", "5\r\nabcde", "5\r\nabcde\r\n",
                           "5\r\nabcde\r\n0", "5\r\nabcde\r\n0\r\n", "x\r\n"}) {
    expectHeadAlone(chunked + body);
  }
}

TEST_F(SoupHttpAnswer, HasNoBodyWhenTheConnectionIsReset) {
  for (const char *bytes :
       {"", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab", "HTTP/1.1 200 OK\r\n\r\nab"}) {
    LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send(bytes);
      client.reset();
    });
    // The reset may discard a head that is still in the socket buffer.
    EXPECT_EQ(fetch(session_, requestOf(server.url())).body, std::nullopt) << bytes;
  }
}

TEST_F(SoupHttpAnswer, FailsWhenItIsNotHttp) {
  expectNothing("220 ready\r\n");
  expectNothing("<html>hello</html>\r\n\r\n");
  expectNothing("HTTP/1.1 abc OK\r\n\r\n");
  expectNothing(std::string("\x16\x03\x01\x00\x00\x00", 6));
}

TEST_F(SoupHttpAnswer, HasTheHeadAloneWhenTheBodyIsTooLarge) {
  std::size_t sent = 0;
  LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
    const std::string block(1'000'000, 'x');
    client.send("HTTP/1.0 200 OK\r\n\r\n");
    while (sent < 1'000'000'000 && client.send(block)) sent += block.size();
  });
  const auto reply = fetch(session_, requestOf(server.url()));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, std::nullopt);
}

TEST_F(SoupHttpAnswer, FailsWhenTheHeadHasNoEnd) {
  for (const std::string line : {"X-Field: x\r\n", "x"}) {
    std::string block;
    while (block.size() < 100'000) block += line;
    std::size_t sent = 0;
    LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send("HTTP/1.1 200 OK\r\n");
      while (sent < 200'000'000 && client.send(block)) sent += block.size();
    });
    EXPECT_EQ(fetch(session_, requestOf(server.url())).status, std::nullopt);
  }
}

}  // namespace
}  // namespace orvel
