// How a reference is resolved: the examples of RFC 3986, 5.4, and what an
// archive's address looks like in practice.

#include <gtest/gtest.h>

#include <utility>

#include "platform/url.h"

namespace orvel {
namespace {

std::optional<std::string> resolved(const std::string &reference, const std::string &base) {
  const auto url = Url::resolve(reference, *Url::parse(base));
  if (!url) return std::nullopt;
  // The parts have to be those of the text.
  EXPECT_EQ(url, Url::parse(url->absoluteString));
  return url->absoluteString;
}

using Example = std::pair<std::string, std::string>;

class ResolvedReference : public testing::TestWithParam<Example> {};

TEST_P(ResolvedReference, IsThatOfTheStandard) {
  const auto &[reference, result] = GetParam();
  EXPECT_EQ(resolved(reference, "http://a/b/c/d;p?q"), result) << reference;
}

// The empty reference is none here.
INSTANTIATE_TEST_SUITE_P(
    Normal, ResolvedReference,
    testing::Values(Example{"g:h", "g:h"}, Example{"g", "http://a/b/c/g"},
                    Example{"./g", "http://a/b/c/g"}, Example{"g/", "http://a/b/c/g/"},
                    Example{"/g", "http://a/g"}, Example{"//g", "http://g"},
                    Example{"?y", "http://a/b/c/d;p?y"}, Example{"g?y", "http://a/b/c/g?y"},
                    Example{"#s", "http://a/b/c/d;p?q#s"}, Example{"g#s", "http://a/b/c/g#s"},
                    Example{"g?y#s", "http://a/b/c/g?y#s"}, Example{";x", "http://a/b/c/;x"},
                    Example{"g;x", "http://a/b/c/g;x"}, Example{"g;x?y#s", "http://a/b/c/g;x?y#s"},
                    Example{".", "http://a/b/c/"}, Example{"./", "http://a/b/c/"},
                    Example{"..", "http://a/b/"}, Example{"../", "http://a/b/"},
                    Example{"../g", "http://a/b/g"}, Example{"../..", "http://a/"},
                    Example{"../../", "http://a/"}, Example{"../../g", "http://a/g"}));

INSTANTIATE_TEST_SUITE_P(
    Abnormal, ResolvedReference,
    testing::Values(Example{"../../../g", "http://a/g"}, Example{"../../../../g", "http://a/g"},
                    Example{"/./g", "http://a/g"}, Example{"/../g", "http://a/g"},
                    Example{"g.", "http://a/b/c/g."}, Example{".g", "http://a/b/c/.g"},
                    Example{"g..", "http://a/b/c/g.."}, Example{"..g", "http://a/b/c/..g"},
                    Example{"./../g", "http://a/b/g"}, Example{"./g/.", "http://a/b/c/g/"},
                    Example{"g/./h", "http://a/b/c/g/h"}, Example{"g/../h", "http://a/b/c/h"},
                    Example{"g;x=1/./y", "http://a/b/c/g;x=1/y"},
                    Example{"g;x=1/../y", "http://a/b/c/y"},
                    Example{"g?y/./x", "http://a/b/c/g?y/./x"},
                    Example{"g?y/../x", "http://a/b/c/g?y/../x"},
                    Example{"g#s/./x", "http://a/b/c/g#s/./x"},
                    Example{"g#s/../x", "http://a/b/c/g#s/../x"}, Example{"http:g", "http:g"}));

TEST(UrlResolve, FindsAnArchive) {
  const std::string manifest = "https://os.test:8443/een/download/linux.json";
  const std::vector<Example> rows{
      {"orvel-os-1.3.zip", "https://os.test:8443/een/download/orvel-os-1.3.zip"},
      {"/files/x.zip", "https://os.test:8443/files/x.zip"},
      {"../x%20y.zip?v=1", "https://os.test:8443/een/x%20y.zip?v=1"},
      {"//elders.test/x.zip", "https://elders.test/x.zip"},
      {"http://elders.test:8080/x.zip", "http://elders.test:8080/x.zip"},
      {"HTTP://Elders.TEST/x.zip", "HTTP://Elders.TEST/x.zip"},
      {"https://u:p@h/%2e%2E/x", "https://u:p@h/%2e%2E/x"},
      {"http://h:99999/x.zip", "http://h:99999/x.zip"},
      {"http://%ff/x.zip", "http://%ff/x.zip"},
      {"http://h", "http://h"},
      {"./a:b.zip", "https://os.test:8443/een/download/a:b.zip"},
      {"x'y.zip", "https://os.test:8443/een/download/x'y.zip"},
      {"%27%0A.zip", "https://os.test:8443/een/download/%27%0A.zip"},
  };
  for (const auto &[reference, result] : rows) EXPECT_EQ(resolved(reference, manifest), result);
  EXPECT_EQ(resolved("x.zip", "http://[::1]:80"), "http://[::1]:80/x.zip");
  EXPECT_EQ(resolved("?x", "http://h/a/../b?y#z"), "http://h/a/../b?x");
  EXPECT_EQ(resolved("/.//x", "file:/a"), "file:/.//x");
  EXPECT_EQ(Url::resolve("x.zip", *Url::parse("/no/scheme")), std::nullopt);
}

TEST(UrlResolve, GivesNothingForWhatIsNoReference) {
  for (const std::string reference : {"", " ", "a b.zip", "a.zip\n", "%", "%zz", "\xff.zip", "1:x",
                                      "caf\xC3\xA9.zip", "http://[x/", "http://h:x/", "a\\b"}) {
    EXPECT_EQ(resolved(reference, "http://h/download/linux.json"), std::nullopt) << reference;
  }
}

}  // namespace
}  // namespace orvel
