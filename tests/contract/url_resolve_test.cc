// The contract of Url::resolve, which each platform implements at link time. The updater uses it
// to resolve the archive address in a manifest, a URL reference, against the manifest's URL. The
// examples of RFC 3986, 5.4 are among the NSURL results of url_test.cc.

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "base/url.h"

namespace orvel {
namespace {

/// Returns the text of the resolved URL. Expects that its parts are those of the text.
std::optional<std::string> resolved(const std::string &reference, const std::string &base) {
  const auto url = Url::resolve(reference, *Url::parse(base));
  if (!url) return std::nullopt;
  EXPECT_EQ(url, Url::parse(url->absoluteString));
  return url->absoluteString;
}

/// A reference and the absolute URL that it resolves to.
using Example = std::pair<std::string, std::string>;

void expectResolved(const std::string &base, const std::vector<Example> &rows) {
  for (const auto &[reference, absoluteUrl] : rows) {
    EXPECT_EQ(resolved(reference, base), absoluteUrl) << reference;
  }
}

TEST(UrlResolve, ArchiveAddressIsResolvedAgainstManifest) {
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
  EXPECT_EQ(resolved("/.//x", "file:/a"), "file:/.//x");
  EXPECT_EQ(Url::resolve("x.zip", *Url::parse("/no/scheme")), std::nullopt);
}

TEST(UrlResolve, IllegalCharactersArePercentEncoded) {
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

TEST(UrlResolve, ReferenceStillMalformedAfterEncodingIsRejected) {
  for (const std::string reference :
       {"", "1:x", "a b:c", "http://[x/", "http://[x/a b", "http://[]/", "http://h:x/",
        "http://h: 80/", "http://h]/", "http://a@b@c/", "http://[::1]x/"}) {
    EXPECT_EQ(resolved(reference, "http://h/download/linux.json"), std::nullopt) << reference;
  }
}

}  // namespace
}  // namespace orvel
