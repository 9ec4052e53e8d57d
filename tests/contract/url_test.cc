// The contract of URL parsing, which each platform implements at link time.

#include "base/url.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvel {
namespace {

struct Parts {
  std::string text;
  std::string scheme;
  std::string host;
  std::string path;
};

void expectParts(const std::vector<Parts> &rows) {
  for (const auto &[text, scheme, host, path] : rows) {
    const auto url = Url::parse(text);
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(url->absoluteString, text);
    EXPECT_EQ(url->scheme, scheme) << text;
    EXPECT_EQ(url->host, host) << text;
    EXPECT_EQ(url->path, path) << text;
  }
}

void expectNoUrl(const std::vector<std::string> &texts) {
  for (const std::string &text : texts) EXPECT_EQ(Url::parse(text), std::nullopt) << text;
}

TEST(Url, PartsOfHierarchicalUrl) {
  expectParts({{"http://127.0.0.1:4767/", "http", "127.0.0.1", "/"},
               {"http://127.0.0.1:4767/api/wie", "http", "127.0.0.1", "/api/wie"},
               {"http://h", "http", "h", ""},
               {"http://h/", "http", "h", "/"},
               {"http://h//", "http", "h", "/"},
               {"http://h/a/", "http", "h", "/a"},
               {"http://h/a//", "http", "h", "/a"},
               {"http://h/a//b", "http", "h", "/a//b"},
               {"HTTP://Example.TEST/A", "HTTP", "Example.TEST", "/A"},
               {"http://h?q=/x", "http", "h", ""},
               {"http://h#f", "http", "h", ""},
               {"https://h/a?b?c=/:@#d?/e", "https", "h", "/a"},
               {"https://h/api/export?kind=csv", "https", "h", "/api/export"},
               {"http://h:/x", "http", "h", "/x"},
               {"http://h:99999/", "http", "h", "/"},
               {"http://user:pass@h:80/x", "http", "h", "/x"},
               {"http://user%40a@h/", "http", "h", "/"},
               {"http://@h/", "http", "h", "/"},
               {"http://evil.test@good.test/", "http", "good.test", "/"},
               {"http:///p", "http", "", "/p"},
               {"http://", "http", "", ""},
               {"http://h/a;p=1,2", "http", "h", "/a;p=1,2"},
               {"http://h/a:b@c!$&'()*+=~", "http", "h", "/a:b@c!$&'()*+=~"},
               {"http://h/./a/../b", "http", "h", "/./a/../b"},
               {"file:///tmp/x", "file", "", "/tmp/x"},
               {"file:/tmp/x", "file", "", "/tmp/x"}});
}

TEST(Url, HostOfAddressLiteralHasNoBrackets) {
  expectParts({{"http://[::1]/", "http", "::1", "/"},
               {"http://[::1]:4767/a", "http", "::1", "/a"},
               {"http://u@[2001:db8::7]", "http", "2001:db8::7", ""},
               {"http://[::ffff:1.2.3.4]/", "http", "::ffff:1.2.3.4", "/"}});
}

TEST(Url, HostAndPathAreDecoded) {
  expectParts({{"http://h/a%20b", "http", "h", "/a b"},
               {"http://h/caf%C3%A9", "http", "h", "/caf\xC3\xA9"},
               {"http://h/a%2Fb", "http", "h", "/a/b"},
               {"http://h/%2525", "http", "h", "/%25"},
               {"http://h/%61pi/e%78port", "http", "h", "/api/export"},
               {"http://h/%00", "http", "h", std::string("/\0", 2)},
               {"http://ex%61mple.test/", "http", "example.test", "/"},
               // Bytes that are not UTF-8 leave the path empty.
               {"http://h/%ff", "http", "h", ""},
               {"http://h/a%C3/", "http", "h", ""},
               {"http://h/%ed%a0%80", "http", "h", ""}});
}

TEST(Url, OpaqueUrlHasNeitherHostNorPath) {
  expectParts({{"mailto:a@b.test", "mailto", "", ""},
               {"mailto:a@b?subject=x", "mailto", "", ""},
               {"tel:+31201234567", "tel", "", ""},
               {"about:blank", "about", "", ""},
               {"data:text/plain,x", "data", "", ""},
               {"localhost:3000/x", "localhost", "", ""},
               {"http:foo", "http", "", ""},
               {"http:", "http", "", ""}});
}

TEST(Url, PartsOfRelativeReference) {
  expectParts({{"example.test", "", "", "example.test"},
               {"orvel-os-1.3.zip", "", "", "orvel-os-1.3.zip"},
               {"/files/x.zip", "", "", "/files/x.zip"},
               {"//h/x", "", "h", "/x"},
               {"a/b:c/", "", "", "a/b:c"},
               {"./a:b", "", "", "./a:b"},
               {"?q", "", "", ""},
               {"#f", "", "", ""}});
}

TEST(Url, PortIsThatOfTheAuthority) {
  const std::vector<std::pair<std::string, std::optional<int>>> rows{
      {"http://h:8080/", 8080},
      {"http://h:80", 80},
      {"http://h:0/", 0},
      {"http://h:65535/a:9", 65535},
      {"http://h:0080/", 80},
      {"http://[::1]:4767/a", 4767},
      {"http://user:8@h:81/", 81},
      {"//h:82/x", 82},
      {"http://h/", std::nullopt},
      {"http://h:/", std::nullopt},
      {"http://[::1]/", std::nullopt},
      {"http://user:8@h/", std::nullopt},
      {"http://h/:80", std::nullopt},
      {"mailto:a@b.test", std::nullopt},
      {"localhost:3000/x", std::nullopt},
      {"a", std::nullopt},
  };
  for (const auto &[text, port] : rows) {
    const auto url = Url::parse(text);
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(url->port, port) << text;
  }
}

TEST(Url, TextWithIllegalCharacterIsRejected) {
  expectNoUrl({"",
               " ",
               "http://h/a b",
               " http://h/",
               "http://h/ ",
               "http://h/\t",
               "http://h/\r\nX: y",
               "http://h/\n",
               "http://h/a\"b",
               "http://h/<a>",
               "http://h/a\\b",
               "http://h/^",
               "http://h/`",
               "http://h/{a}",
               "http://h/|",
               "http://h/caf\xC3\xA9",
               "http://caf\xC3\xA9/",
               "http://h/\xff",
               "http://h/?a b",
               "http://h/#a#b",
               "http://h/a[1]",
               std::string("http://h/\0", 10),
               std::string("\0", 1),
               "http://h/\x7f"});
}

TEST(Url, MalformedEscapeIsRejected) {
  expectNoUrl({"http://h/%", "http://h/%4", "http://h/%zz", "http://h/?%4g", "http://h/#%",
               "http://h%/", "http://u%@h/", "%"});
}

TEST(Url, MalformedSyntaxIsRejected) {
  expectNoUrl({"1http://h/", "127.0.0.1:4767", ":", "://h", "-a:b", "ht tp://h", "h_t:x",
               "http://[::1", "http://::1/", "http://[1.2.3.4]/", "http://[]/", "http://[::1]x/",
               "http://[::g]/", "http://h]/", "http://h:8a/", "http://a@b@c/", "http://h:80:80/",
               "http://a[::1]/", std::string("http://[::\0%]/", 14)});
}

TEST(Url, EqualityComparesText) {
  EXPECT_EQ(Url::parse("http://h/"), Url::parse("http://h/"));
  EXPECT_NE(Url::parse("http://h"), Url::parse("http://h/"));
}

}  // namespace
}  // namespace orvel
