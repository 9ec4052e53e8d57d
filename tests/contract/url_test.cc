// What the parts of a URL are, on whichever platform this is built for.

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

class UrlParts : public testing::TestWithParam<Parts> {};

TEST_P(UrlParts, AreThoseOfTheText) {
  const auto &[text, scheme, host, path] = GetParam();
  const auto url = Url::parse(text);
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString, text);
  EXPECT_EQ(url->scheme, scheme);
  EXPECT_EQ(url->host, host);
  EXPECT_EQ(url->path, path);
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, UrlParts,
    testing::Values(
        Parts{"http://127.0.0.1:4767/", "http", "127.0.0.1", "/"},
        Parts{"http://127.0.0.1:4767/api/wie", "http", "127.0.0.1", "/api/wie"},
        Parts{"http://h", "http", "h", ""}, Parts{"http://h/", "http", "h", "/"},
        Parts{"http://h//", "http", "h", "/"}, Parts{"http://h/a/", "http", "h", "/a"},
        Parts{"http://h/a//", "http", "h", "/a"}, Parts{"http://h/a//b", "http", "h", "/a//b"},
        Parts{"HTTP://Example.TEST/A", "HTTP", "Example.TEST", "/A"},
        Parts{"http://h?q=/x", "http", "h", ""}, Parts{"http://h#f", "http", "h", ""},
        Parts{"https://h/a?b?c=/:@#d?/e", "https", "h", "/a"},
        Parts{"https://h/api/export?soort=csv", "https", "h", "/api/export"},
        Parts{"http://h:/x", "http", "h", "/x"}, Parts{"http://h:99999/", "http", "h", "/"},
        Parts{"http://user:pass@h:80/x", "http", "h", "/x"},
        Parts{"http://user%40a@h/", "http", "h", "/"}, Parts{"http://@h/", "http", "h", "/"},
        Parts{"http://evil.test@good.test/", "http", "good.test", "/"},
        Parts{"http:///p", "http", "", "/p"}, Parts{"http://", "http", "", ""},
        Parts{"http://h/a;p=1,2", "http", "h", "/a;p=1,2"},
        Parts{"http://h/a:b@c!$&'()*+=~", "http", "h", "/a:b@c!$&'()*+=~"},
        Parts{"http://h/./a/../b", "http", "h", "/./a/../b"},
        Parts{"file:///tmp/x", "file", "", "/tmp/x"}, Parts{"file:/tmp/x", "file", "", "/tmp/x"}));

INSTANTIATE_TEST_SUITE_P(AddressLiterals, UrlParts,
                         testing::Values(Parts{"http://[::1]/", "http", "::1", "/"},
                                         Parts{"http://[::1]:4767/a", "http", "::1", "/a"},
                                         Parts{"http://u@[2001:db8::7]", "http", "2001:db8::7", ""},
                                         Parts{"http://[::ffff:1.2.3.4]/", "http", "::ffff:1.2.3.4",
                                               "/"}));

INSTANTIATE_TEST_SUITE_P(
    Escapes, UrlParts,
    testing::Values(Parts{"http://h/a%20b", "http", "h", "/a b"},
                    Parts{"http://h/caf%C3%A9", "http", "h", "/caf\xC3\xA9"},
                    Parts{"http://h/a%2Fb", "http", "h", "/a/b"},
                    Parts{"http://h/%2525", "http", "h", "/%25"},
                    Parts{"http://h/%61pi/e%78port", "http", "h", "/api/export"},
                    Parts{"http://h/%00", "http", "h", std::string("/\0", 2)},
                    Parts{"http://ex%61mple.test/", "http", "example.test", "/"},
                    // Bytes that are no text give no path.
                    Parts{"http://h/%ff", "http", "h", ""},
                    Parts{"http://h/a%C3/", "http", "h", ""},
                    Parts{"http://h/%ed%a0%80", "http", "h", ""}));

INSTANTIATE_TEST_SUITE_P(Opaque, UrlParts,
                         testing::Values(Parts{"mailto:a@b.test", "mailto", "", ""},
                                         Parts{"mailto:a@b?subject=x", "mailto", "", ""},
                                         Parts{"tel:+31201234567", "tel", "", ""},
                                         Parts{"about:blank", "about", "", ""},
                                         Parts{"data:text/plain,x", "data", "", ""},
                                         Parts{"localhost:3000/x", "localhost", "", ""},
                                         Parts{"http:foo", "http", "", ""},
                                         Parts{"http:", "http", "", ""}));

INSTANTIATE_TEST_SUITE_P(RelativeReferences, UrlParts,
                         testing::Values(Parts{"example.test", "", "", "example.test"},
                                         Parts{"orvel-os-1.3.zip", "", "", "orvel-os-1.3.zip"},
                                         Parts{"/files/x.zip", "", "", "/files/x.zip"},
                                         Parts{"//h/x", "", "h", "/x"},
                                         Parts{"a/b:c/", "", "", "a/b:c"},
                                         Parts{"./a:b", "", "", "./a:b"}, Parts{"?q", "", "", ""},
                                         Parts{"#f", "", "", ""}));

TEST(Url, HasThePortThatItNames) {
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

class NoUrl : public testing::TestWithParam<std::string> {};

TEST_P(NoUrl, GivesNothing) { EXPECT_EQ(Url::parse(GetParam()), std::nullopt); }

INSTANTIATE_TEST_SUITE_P(IllegalCharacters, NoUrl,
                         testing::Values("", " ", "http://h/a b", " http://h/", "http://h/ ",
                                         "http://h/\t", "http://h/\r\nX: y", "http://h/\n",
                                         "http://h/a\"b", "http://h/<a>", "http://h/a\\b",
                                         "http://h/^", "http://h/`", "http://h/{a}", "http://h/|",
                                         "http://h/caf\xC3\xA9", "http://caf\xC3\xA9/",
                                         "http://h/\xff", "http://h/?a b", "http://h/#a#b",
                                         "http://h/a[1]", std::string("http://h/\0", 10),
                                         std::string("\0", 1), "http://h/\x7f"));

INSTANTIATE_TEST_SUITE_P(Escapes, NoUrl,
                         testing::Values("http://h/%", "http://h/%4", "http://h/%zz",
                                         "http://h/?%4g", "http://h/#%", "http://h%/",
                                         "http://u%@h/", "%"));

INSTANTIATE_TEST_SUITE_P(Syntax, NoUrl,
                         testing::Values("1http://h/", "127.0.0.1:4767", ":", "://h", "-a:b",
                                         "ht tp://h", "h_t:x", "http://[::1", "http://::1/",
                                         "http://[1.2.3.4]/", "http://[]/", "http://[::1]x/",
                                         "http://[::g]/", "http://h]/", "http://h:8a/",
                                         "http://a@b@c/", "http://h:80:80/", "http://a[::1]/",
                                         std::string("http://[::\0%]/", 14)));

TEST(Url, ComparesByItsText) {
  EXPECT_EQ(Url::parse("http://h/"), Url::parse("http://h/"));
  EXPECT_NE(Url::parse("http://h"), Url::parse("http://h/"));
}

}  // namespace
}  // namespace orvel
