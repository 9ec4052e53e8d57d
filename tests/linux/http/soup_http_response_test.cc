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

const std::string gzipField = "Content-Encoding: gzip\r\n";

class SoupHttpResponse : public testing::Test {
 protected:
  /// Fetches from a server that sends the bytes and closes the connection.
  HttpReplies::Reply replyTo(const std::string &bytes) {
    const LoopbackServer server(respondWith(bytes));
    return fetch(session_, server.url());
  }
  void expectReply(const std::string &bytes, std::optional<int> status,
                   const std::optional<std::string> &body) {
    const auto reply = replyTo(bytes);
    EXPECT_EQ(reply.status, status) << bytes;
    EXPECT_EQ(reply.body, body) << bytes;
  }
  void expectStatus200WithoutBody(const std::string &bytes) {
    expectReply(bytes, 200, std::nullopt);
  }

  SoupHttpSession session_;
};

TEST_F(SoupHttpResponse, EveryStatusIsReportedWithItsBody) {
  for (const std::string status : {"200 OK", "201 Created", "401 Unauthorized", "403 Forbidden",
                                   "404 Not Found", "500 Broken", "503 Busy", "299 Odd"}) {
    expectReply(response(status, "the body"), std::stoi(status), "the body");
  }
  for (const std::string status : {"204 No Content", "304 Not Modified"}) {
    expectReply("HTTP/1.1 " + status + "\r\n\r\n", std::stoi(status), "");
  }
  expectReply("HTTP/1.1 304 Not Modified\r\nContent-Length: 9\r\n\r\n", 304, "");
  // An authentication challenge is an ordinary response.
  expectReply(response("401 Unauthorized", "no", "WWW-Authenticate: Basic realm=\"os\"\r\n"), 401,
              "no");
}

TEST_F(SoupHttpResponse, BodyIsCompleteInEveryFraming) {
  const std::string bytes("a\0\r\n\xff", 5);
  const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  expectReply(okResponse(bytes), 200, bytes);
  expectReply("HTTP/1.0 200 OK\r\n\r\n" + bytes, 200, bytes);
  expectReply("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + bytes, 200, bytes);
  expectReply(chunked + "3\r\nabc\r\n5;x=y\r\n" + bytes + "\r\n0\r\n\r\n", 200, "abc" + bytes);
  expectReply(chunked + "0\r\n\r\n", 200, "");
  expectReply("HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + okResponse("x"), 200, "x");
}

TEST_F(SoupHttpResponse, CompleteGzipBodyIsDecodedAndOtherEncodedBodyFails) {
  // "contents", compressed with gzip.
  const std::string packed(
      "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff\x4b\xce\xcf\x2b"
      "\x49\xcd\x2b\x29\x06\x00\x77\x11\xfa\xb4\x08\x00\x00\x00",
      28);
  expectReply(okResponse(packed, gzipField), 200, "contents");
  // An alias of gzip (RFC 9110, 8.4.1.3).
  expectReply("HTTP/1.1 200 OK\r\nContent-Encoding: X-GZIP\r\n\r\n" + packed, 200, "contents");
  // Without gzip as the content coding, the body is a compressed file and is not decoded.
  expectReply(okResponse(packed, "Content-Encoding: identity\r\n"), 200, packed);
  for (std::size_t size = 0; size < packed.size(); ++size) {
    expectStatus200WithoutBody(okResponse(packed.substr(0, size), gzipField));
  }
  std::string wrongChecksum = packed;
  // The checksum and the length are the last eight bytes (RFC 1952, 2.3).
  wrongChecksum[packed.size() - 8] ^= 1;
  expectStatus200WithoutBody(okResponse(wrongChecksum, gzipField));
  expectStatus200WithoutBody(okResponse("body", "Content-Encoding: br\r\n"));
}

TEST_F(SoupHttpResponse, LargeBodyIsComplete) {
  std::string body;
  body.resize(20'000'000);
  std::minstd_rand random;
  std::generate(body.begin(), body.end(), [&] { return static_cast<char>(random()); });
  const auto compressor = adopt(g_zlib_compressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP, 1));
  std::string packed(2 * body.size(), '\0');
  gsize read = 0;
  gsize written = 0;
  ASSERT_EQ(
      g_converter_convert(G_CONVERTER(compressor.get()), body.data(), body.size(), packed.data(),
                          packed.size(), G_CONVERTER_INPUT_AT_END, &read, &written, nullptr),
      G_CONVERTER_FINISHED);
  packed.resize(written);

  // EXPECT_EQ would print the bodies.
  EXPECT_TRUE(replyTo(okResponse(body)).body == body);
  EXPECT_TRUE(replyTo(okResponse(packed, gzipField)).body == body);
  EXPECT_TRUE(replyTo(okResponse(packed.substr(0, written / 2), gzipField)).body == std::nullopt);
}

TEST_F(SoupHttpResponse, TruncatedOrMalformedHeadFails) {
  for (const char *bytes :
       {"", "HTT", "HTTP/1.1 200 O", "HTTP/1.1 200 OK\r", "HTTP/1.1 200 OK\r\nContent-Le",
        "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r", "220 ready\r\n", "<html>hello</html>\r\n\r\n",
        "HTTP/1.1 abc OK\r\n\r\n"}) {
    expectReply(bytes, std::nullopt, std::nullopt);
  }
  // The beginning of a TLS record.
  expectReply(std::string("\x16\x03\x01\x00\x00\x00", 6), std::nullopt, std::nullopt);
}

TEST_F(SoupHttpResponse, TruncatedOrMalformedBodyGivesResponseWithoutBody) {
  const std::string chunked = "Transfer-Encoding: chunked\r\n";
  // In the first two rows the head ends without an empty line, which libsoup accepts.
  for (const std::string &rest :
       {std::string("Content-Length: 5\r\n"), chunked, std::string("Content-Length: 5\r\n\r\n"),
        std::string("Content-Length: 5\r\n\r\nabcd"),
        std::string("Connection: close\r\nContent-Length: 5\r\n\r\nabcd")}) {
    expectStatus200WithoutBody("HTTP/1.1 200 OK\r\n" + rest);
  }
  expectStatus200WithoutBody("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabcd");
  for (const char *body : {"", "5", "5\r\n", "5\r\nab", "5\r\nabcde", "5\r\nabcde\r\n",
                           "5\r\nabcde\r\n0", "5\r\nabcde\r\n0\r\n", "x\r\n"}) {
    expectStatus200WithoutBody("HTTP/1.1 200 OK\r\n" + chunked + "\r\n" + body);
  }
}

TEST_F(SoupHttpResponse, ResetConnectionGivesNoBody) {
  for (const char *bytes :
       {"", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab", "HTTP/1.1 200 OK\r\n\r\nab"}) {
    const LoopbackServer server([&](LoopbackConnection &client, const std::string &) {
      client.send(bytes);
      client.resetOnClose();
    });
    // The status is not checked: the reset may discard a head that is still in the socket buffer.
    EXPECT_EQ(fetch(session_, server.url()).body, std::nullopt) << bytes;
  }
}

/// Returns a handler that sends the start once and then the block repeatedly, until the client
/// closes the connection or a gigabyte is sent.
LoopbackServer::Handler sendForever(const std::string &start, const std::string &block) {
  return [=](LoopbackConnection &client, const std::string &) {
    std::size_t sent = 0;
    client.send(start);
    while (sent < 1'000'000'000 && client.send(block)) sent += block.size();
  };
}

TEST_F(SoupHttpResponse, OversizedBodyGivesResponseWithoutBody) {
  // The session accepts a body of up to 64 MiB.
  const LoopbackServer server(sendForever("HTTP/1.0 200 OK\r\n\r\n", std::string(1'000'000, 'x')));
  const auto reply = fetch(session_, server.url());
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, std::nullopt);
}

TEST_F(SoupHttpResponse, EndlessHeadFails) {
  // The first row sends fields without end, the second one a field without end.
  for (const std::string line : {"X-Field: x\r\n", "x"}) {
    std::string block;
    while (block.size() < 100'000) block += line;
    const LoopbackServer server(sendForever("HTTP/1.1 200 OK\r\n", block));
    EXPECT_EQ(fetch(session_, server.url()).status, std::nullopt);
  }
}

}  // namespace
}  // namespace orvel
