#include "platform/linux/webkit_url.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace orvel {
namespace {

TEST(WebKitUrl, WhatIsValidStaysAsItIs) {
  for (const std::string address :
       {"http://127.0.0.1:4767/", "http://127.0.0.1:4767", "https://u:p@[::1]:8/a/b%20c?d=e&f#g/?h",
        "http://[fe80::1%25eth0]/", "about:blank", "mailto:a@b.test?subject=x%20y", "tel:+31(6)-1",
        "http://xn--9ca.test/%C3%BC", "data:,x", "/path:with:colons", "", "a:", "a://"}) {
    EXPECT_EQ(withEscapes(address), address);
  }
}

TEST(WebKitUrl, WhatIsNotIsEscaped) {
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
  };
  for (const auto &[address, escaped] : table) {
    EXPECT_EQ(withEscapes(address), escaped);
    EXPECT_TRUE(urlFromWebKit(address.c_str()).has_value()) << address;
  }
}

TEST(WebKitUrl, WhatIsNoUrlIsNone) {
  for (const char *address : {"", "http://[/", "http://a b/", "http://h:x/", "1a:b"}) {
    EXPECT_EQ(urlFromWebKit(address), std::nullopt) << address;
  }
  EXPECT_EQ(urlFromWebKit(nullptr), std::nullopt);
}

TEST(WebKitUrl, ThePartsAreThoseOfTheEscapedText) {
  const auto url = urlFromWebKit("http://h/a[b]?c");
  ASSERT_TRUE(url.has_value());
  EXPECT_EQ(url->path, "/a[b]");
  EXPECT_EQ(url->absoluteString, "http://h/a%5Bb%5D?c");
}

}  // namespace
}  // namespace orvel
