#include "base/percent_encoding.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/url.h"

namespace orvel {
namespace {

TEST(PercentEncoding, ValidUrlIsUnchanged) {
  for (const std::string address :
       {"http://127.0.0.1:4767/", "http://127.0.0.1:4767", "https://u:p@[::1]:8/a/b%20c?d=e&f#g/?h",
        "http://[fe80::1%25eth0]/", "about:blank", "mailto:a@b.test?subject=x%20y", "tel:+31(6)-1",
        "http://xn--9ca.test/%C3%BC", "data:,x", "/path:with:colons", "", "a:", "a://",
        "http://u~@[::1]/", "http://AZaz09/"}) {
    EXPECT_EQ(percentEncoded(address), address);
  }
}

TEST(PercentEncoding, InvalidCharactersAreEncoded) {
  const std::vector<std::pair<std::string, std::string>> table{
      {"http://h/a[b]|c\\d", "http://h/a%5Bb%5D%7Cc%5Cd"},
      {"http://h/{}^`\"<>", "http://h/%7B%7D%5E%60%22%3C%3E"},
      {"http://h?[|]", "http://h?%5B%7C%5D"},
      {"http://h#[|]", "http://h#%5B%7C%5D"},
      {"http://h/?q={\"a\":[1]}#{`}", "http://h/?q=%7B%22a%22:%5B1%5D%7D#%7B%60%7D"},
      {"http://h/#a#b#", "http://h/#a%23b%23"},
      {"http://h/100%", "http://h/100%25"},
      {"http://h/%zz%4", "http://h/%25zz%254"},
      {"http://h/%4a%4A%", "http://h/%4a%4A%25"},
      {"http://[::1]:1/[", "http://[::1]:1/%5B"},
      {"mailto:a b@c?subject=[x]", "mailto:a%20b@c?subject=%5Bx%5D"},
      {"tel:+31 6", "tel:+31%206"},
      {"data:text/html,<p>é", "data:text/html,%3Cp%3E%C3%A9"},
      {"http://h/\x01\x7f", "http://h/%01%7F"},
      {"http://a b|:8/", "http://a%20b%7C:8/"},
      {"http://|/", "http://%7C/"},
      {"http://a b:c d@[fe80::1%eth0]:8/", "http://a%20b:c%20d@[fe80::1%25eth0]:8/"},
      {"//café?", "//caf%C3%A9?"},
      {"a b/c:d", "a%20b/c:d"},
      {"[", "%5B"},
  };
  for (const auto &[address, escaped] : table) {
    EXPECT_EQ(percentEncoded(address), escaped);
    EXPECT_EQ(percentEncoded(escaped), escaped);
    EXPECT_TRUE(Url::parse(escaped).has_value()) << escaped;
  }
}

TEST(PercentEncoding, MalformedSchemeOrAuthorityIsUnchangedAndNotParsed) {
  for (const std::string reference :
       {"http://[/", "http://h:x/", "http://h]/", "http://a@b@c/", "1a:b", "a_b:c", "a ~:b"}) {
    EXPECT_EQ(percentEncoded(reference), reference);
    EXPECT_EQ(Url::parse(reference), std::nullopt) << reference;
  }
}

TEST(PercentEncoding, EscapesAreDecodedToBytesUnlessOneIsMalformed) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> table{
      {"", ""},
      {"a b", "a b"},
      {"%41%4a%4A", "AJJ"},
      {"%2F%25", "/%"},
      {"caf%C3%A9", "café"},
      {"%fF", "\xff"},
      {"%2541", "%41"},
      {"%00", std::string(1, '\0')},
      {"%", std::nullopt},
      {"a%4", std::nullopt},
      {"%zz", std::nullopt},
      {"%4g", std::nullopt},
      {"%g4", std::nullopt},
      {"%%41", std::nullopt},
      {"%41%", std::nullopt},
  };
  for (const auto &[text, decoded] : table) EXPECT_EQ(percentDecoded(text), decoded) << text;
}

}  // namespace
}  // namespace orvel
