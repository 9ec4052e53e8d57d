#include "base/url.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvel {
namespace {

/// What Foundation's NSURL gives for a text and a base URL, from Apple's test data for NSURL.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): members in the order of the table.
struct NsurlResult {
  std::string text;
  std::string base;  // Empty for none.
  bool isUrl;        // Whether NSURL accepts the text.
  std::string absoluteString;
  std::string scheme;
  std::string host;
  int port;  // -1 for none.
  std::string path;
};

/// The examples of RFC 3986, 5.4 are among these.
const NsurlResult nsurlResults[] = {
#include "tests/support/data/nsurl_results.inc"
};

/// The expected URLs that differ from NSURL's results, by text. The value is nullopt where the text
/// is rejected.
const std::map<std::string, std::optional<std::string>> acceptedDifferences{
    // NSURL keeps dot segments at the start of the path (RFC 2396); RFC 3986 removes them.
    {"../../../g", "http://a/g"},
    {"../../../../g", "http://a/g"},
    {"/./g", "http://a/g"},
    {"/../g", "http://a/g"},
    {"../artist/720703", "http://www.ticketmaster.com/artist/720703"},
    // A reference is percent-encoded first, as Foundation does from macOS 14 on.
    {"unescaped space", "http://test.com/unescaped%20space"},
    {" /interactive/world/0207/gallery.pope.tour/frameset.exclude.html",
     "http://www.cnn.com/%20/interactive/world/0207/gallery.pope.tour/frameset.exclude.html"},
    // RFC 3986 does not allow "|", and Url::parse encodes nothing. The two rows of
    // `nsurlResults` for this text contradict each other: NSURL rejects it, or percent-encodes "|".
    {"http://test.com/unescaped|pipe", std::nullopt},
    // The text is the same, but the path of Url is "/", and that of NSURL is "//".
    {"file://///", "file://///"},
};

TEST(Url, AgreesWithNsurlExceptForAcceptedDifferences) {
  for (const auto &expected : nsurlResults) {
    const auto url = expected.base.empty()
                         ? Url::parse(expected.text)
                         : Url::resolve(expected.text, *Url::parse(expected.base));
    const std::string message = "\"" + expected.text + "\" relative to \"" + expected.base + "\"";
    const auto difference = acceptedDifferences.find(expected.text);
    if (difference != acceptedDifferences.end()) {
      EXPECT_EQ(url ? std::optional(url->absoluteString) : std::nullopt, difference->second)
          << message;
      continue;
    }
    ASSERT_EQ(url.has_value(), expected.isUrl) << message;
    if (!url) continue;
    EXPECT_EQ(url->absoluteString, expected.absoluteString) << message;
    EXPECT_EQ(url->scheme, expected.scheme) << message;
    EXPECT_EQ(url->host, expected.host) << message;
    EXPECT_EQ(url->port.value_or(-1), expected.port) << message;
    EXPECT_EQ(url->path, expected.path) << message;
  }
}

TEST(Url, UrlAndRelativeReferenceAreSplitIntoParts) {
  struct Row {
    std::string text;
    std::string scheme;
    std::string host;
    std::optional<int> port;
    std::string path;
  };
  constexpr auto noPort = std::nullopt;
  // The path is percent-decoded and, except for the root "/", has no "/" at its end, like that of
  // Foundation's URL.
  const std::vector<Row> rows{
      {"http://127.0.0.1:4767/api/wie", "http", "127.0.0.1", 4767, "/api/wie"},
      {"http://h//", "http", "h", noPort, "/"},
      {"http://h/a//", "http", "h", noPort, "/a"},
      {"http://h/a//b", "http", "h", noPort, "/a//b"},
      {"https://h/a?b?c=/:@#d?/e", "https", "h", noPort, "/a"},
      {"http://user%40a@h/", "http", "h", noPort, "/"},
      {"http://evil.test@good.test/", "http", "good.test", noPort, "/"},
      {"http://h/a:b@c!$&'()*+=~", "http", "h", noPort, "/a:b@c!$&'()*+=~"},
      {"http://[::1]:4767/a", "http", "::1", 4767, "/a"},
      {"http://[::1]/", "http", "::1", noPort, "/"},
      {"http://u@[2001:db8::7]", "http", "2001:db8::7", noPort, ""},
      {"http://[::ffff:1.2.3.4]/", "http", "::ffff:1.2.3.4", noPort, "/"},
      {"http://h/caf%C3%A9", "http", "h", noPort, "/caf\xC3\xA9"},
      {"http://h/a%2Fb", "http", "h", noPort, "/a/b"},
      {"http://h/%2525", "http", "h", noPort, "/%25"},
      {"http://h/%61pi/e%78port", "http", "h", noPort, "/api/export"},
      {"http://h/%00", "http", "h", noPort, std::string("/\0", 2)},
      // The port is digits after the last colon of the authority.
      {"http://h:/x", "http", "h", noPort, "/x"},
      {"http://h:0/", "http", "h", 0, "/"},
      {"http://h:0080/", "http", "h", 80, "/"},
      {"http://h:65535/a:9", "http", "h", 65535, "/a:9"},
      {"http://h:99999/", "http", "h", 99999, "/"},
      {"http://user:8@h:81/", "http", "h", 81, "/"},
      {"http://user:8@h/", "http", "h", noPort, "/"},
      {"http://h/:80", "http", "h", noPort, "/:80"},
      // Bytes that are not UTF-8 leave the path empty.
      {"http://h/%ff", "http", "h", noPort, ""},
      {"http://h/a%C3/", "http", "h", noPort, ""},
      {"http://h/%ed%a0%80", "http", "h", noPort, ""},
      // Without a slash after the colon, a URL has neither host nor path.
      {"tel:+31201234567", "tel", "", noPort, ""},
      {"localhost:3000/x", "localhost", "", noPort, ""},
      {"http:foo", "http", "", noPort, ""},
      // Relative references.
      {"orvel-os-1.3.zip", "", "", noPort, "orvel-os-1.3.zip"},
      {"//h/x", "", "h", noPort, "/x"},
      {"//h:82/x", "", "h", 82, "/x"},
      {"a/b:c/", "", "", noPort, "a/b:c"},
      {"./a:b", "", "", noPort, "./a:b"},
      {"?q", "", "", noPort, ""},
      {"#f", "", "", noPort, ""},
  };
  for (const auto &[text, scheme, host, port, path] : rows) {
    const auto url = Url::parse(text);
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(url->absoluteString, text);
    EXPECT_EQ(url->scheme, scheme) << text;
    EXPECT_EQ(url->host, host) << text;
    EXPECT_EQ(url->port, port) << text;
    EXPECT_EQ(url->path, path) << text;
  }
}

void expectRejected(const std::vector<std::string> &texts) {
  for (const std::string &text : texts) EXPECT_EQ(Url::parse(text), std::nullopt) << text;
}

TEST(Url, ParseRejectsIllegalCharacter) {
  expectRejected({std::string("\0", 1), std::string("http://h/\0", 10), "http://h/a[1]",
                  "http://h/#a#b", "http://h/?a b", " http://h/", "http://h/\r\nX: y",
                  "http://caf\xC3\xA9/"});
  for (const std::string character : {" ", "\t", "\n", "\"", "<", ">", "\\", "^", "`", "{", "}",
                                      "|", "\x7f", "\xC3\xA9", "\xff"}) {
    expectRejected({character, "http://h/" + character, "http://h/a" + character + "b"});
  }
}

TEST(Url, ParseRejectsMalformedEscapeOrSyntax) {
  expectRejected({"http://h/%", "http://h/%4", "http://h/%zz", "http://h/?%4g", "http://h/#%",
                  "http://h%/", "http://u%@h/", "%", ""});
  expectRejected({"1http://h/", "127.0.0.1:4767", ":", "://h", "-a:b", "ht tp://h", "h_t:x",
                  "http://[::1", "http://::1/", "http://[1.2.3.4]/", "http://[]/", "http://[::1]x/",
                  "http://[::g]/", "http://h]/", "http://h:8a/", "http://a@b@c/", "http://h:80:80/",
                  "http://a[::1]/", std::string("http://[::\0%]/", 14)});
}

TEST(Url, UrlsWithDifferentTextAreNotEqual) {
  EXPECT_EQ(Url::parse("http://h/"), Url::parse("http://h/"));
  EXPECT_NE(Url::parse("http://h"), Url::parse("http://h/"));
}

/// Returns the text of the resolved URL, or nullopt when the reference is rejected. Expects that
/// the parts of the URL are those of its text.
std::optional<std::string> resolved(const std::string &reference, const std::string &base) {
  const auto url = Url::resolve(reference, *Url::parse(base));
  if (!url) return std::nullopt;
  EXPECT_EQ(url, Url::parse(url->absoluteString)) << url->absoluteString;
  return url->absoluteString;
}

/// A reference and the absolute URL that it resolves to.
using Example = std::pair<std::string, std::string>;

void expectResolved(const std::string &base, const std::vector<Example> &rows) {
  for (const auto &[reference, absoluteUrl] : rows) {
    EXPECT_EQ(resolved(reference, base), absoluteUrl) << reference;
  }
}

// The updater resolves the archive address in a manifest against the URL of the manifest.
TEST(Url, ReferenceIsResolvedAgainstBaseUrl) {
  const std::string manifest = "https://os.test:8443/one/download/linux.json";
  expectResolved(manifest,
                 {
                     {"orvel-os-1.3.zip", "https://os.test:8443/one/download/orvel-os-1.3.zip"},
                     {"/files/x.zip", "https://os.test:8443/files/x.zip"},
                     {"../x%20y.zip?v=1", "https://os.test:8443/one/x%20y.zip?v=1"},
                     {"//other.test/x.zip", "https://other.test/x.zip"},
                     {"http://other.test:8080/x.zip", "http://other.test:8080/x.zip"},
                     {"HTTP://Other.TEST/x.zip", "HTTP://Other.TEST/x.zip"},
                     {"https://u:p@h/%2e%2E/x", "https://u:p@h/%2e%2E/x"},
                     {"http://h:99999/x.zip", "http://h:99999/x.zip"},
                     {"http://%ff/x.zip", "http://%ff/x.zip"},
                     {"http://h", "http://h"},
                     {"./a:b.zip", "https://os.test:8443/one/download/a:b.zip"},
                     {"x'y.zip", "https://os.test:8443/one/download/x'y.zip"},
                     {"%27%0A.zip", "https://os.test:8443/one/download/%27%0A.zip"},
                 });
  EXPECT_EQ(resolved("x.zip", "http://[::1]:80"), "http://[::1]:80/x.zip");
  EXPECT_EQ(resolved("?x", "http://h/a/../b?y#z"), "http://h/a/../b?x");
  // Without "/." the "x" would be the host.
  EXPECT_EQ(resolved("/.//x", "file:/a"), "file:/.//x");
  EXPECT_EQ(Url::resolve("x.zip", *Url::parse("/no/scheme")), std::nullopt);
}

TEST(Url, ResolvePercentEncodesIllegalCharacters) {
  const std::string manifest = "https://os.test/download/linux.json";
  const std::string folder = "https://os.test/download/";
  const std::vector<Example> rows{
      {" ", folder + "%20"},
      {"a b.zip", folder + "a%20b.zip"},
      {"caf\u00E9.zip", folder + "caf%C3%A9.zip"},
      {"\U0001F600.zip", folder + "%F0%9F%98%80.zip"},
      {"a|b.zip", folder + "a%7Cb.zip"},
      {"a.zip\n", folder + "a.zip%0A"},
      {"\t\x7F", folder + "%09%7F"},
      {std::string("a\0b", 3), folder + "a%00b"},
      {"\xff.zip", folder + "%FF.zip"},
      {"\"<>\\^`{}", folder + "%22%3C%3E%5C%5E%60%7B%7D"},
      {"/a b/../c d.zip?e f#g h", "https://os.test/c%20d.zip?e%20f#g%20h"},
      {"https://other.test/a b.zip", "https://other.test/a%20b.zip"},
      {"//other.test/a b.zip", "https://other.test/a%20b.zip"},
      {"?a b", manifest + "?a%20b"},
      // Characters that are encoded only where RFC 3986 does not allow them.
      {"a[1].zip?[2]#[3]#4", folder + "a%5B1%5D.zip?%5B2%5D#%5B3%5D%234"},
      {"./!$&'()*+,;=:@~-._/?", folder + "!$&'()*+,;=:@~-._/?"},
      {"http://[::1]/[", "http://[::1]/%5B"},
      // A "%" is encoded unless it begins an escape.
      {"%", folder + "%25"},
      {"100%.zip", folder + "100%25.zip"},
      {"%zz%4", folder + "%25zz%254"},
      {"a%20b c%C3%A9.zip", folder + "a%20b%20c%C3%A9.zip"},
      {"%2520 %2f", folder + "%2520%20%2f"},
      // The authority is encoded as well.
      {"https://a b/x.zip", "https://a%20b/x.zip"},
      {"https://caf\u00E9.test/x.zip", "https://caf%C3%A9.test/x.zip"},
      {"https://us er:p|w@h:8/x.zip", "https://us%20er:p%7Cw@h:8/x.zip"},
      {"//a%b/x", "https://a%25b/x"},
  };
  expectResolved(manifest, rows);
}

TEST(Url, ResolveRejectsReferenceStillMalformedAfterEncoding) {
  for (const std::string reference :
       {"", "1:x", "a b:c", "http://[x/", "http://[x/a b", "http://[]/", "http://h:x/",
        "http://h: 80/", "http://h]/", "http://a@b@c/", "http://[::1]x/"}) {
    EXPECT_EQ(resolved(reference, "http://h/download/linux.json"), std::nullopt) << reference;
  }
}

}  // namespace
}  // namespace orvel
