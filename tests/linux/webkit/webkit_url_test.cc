#include "platform/linux/webkit/webkit_url.h"

#include <gtest/gtest.h>

#include "base/percent_encoding.h"

namespace orvel {
namespace {

// Each URL has characters that WebKit accepts by the URL Standard (WHATWG), but that RFC 3986 does
// not allow at their position. percentEncoded() encodes only those.
TEST(WebKitUrl, CharactersOutsideRfc3986ArePercentEncoded) {
  for (const char *text :
       {"http://h/a[b]|c\\d", "http://h/{}^`\"<>", "http://h?[|]", "http://h/#a#b#",
        "http://h/100%", "http://[::1]:1/[", "mailto:a b@c?subject=[x]", "data:text/html,<p>é"}) {
    const auto url = urlFromWebKit(text);
    ASSERT_TRUE(url.has_value()) << text;
    EXPECT_EQ(url->absoluteString, percentEncoded(text));
  }
}

TEST(WebKitUrl, PathIsDecoded) {
  EXPECT_EQ(urlFromWebKit("http://h/a[b]?c").value().path, "/a[b]");
}

TEST(WebKitUrl, MalformedUrlIsRejected) {
  for (const char *text : {"", "http://[/", "http://h:x/", "1a:b"}) {
    EXPECT_EQ(urlFromWebKit(text), std::nullopt) << text;
  }
  EXPECT_EQ(urlFromWebKit(nullptr), std::nullopt);
}

}  // namespace
}  // namespace orvel
