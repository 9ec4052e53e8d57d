#include "web/download_name.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace orvel {
namespace {

const std::string lastUrlComponent = "12";

Url url(const std::string &address = "http://127.0.0.1:4767/api/bestand/" + lastUrlComponent) {
  return *Url::parse(address);
}

std::string repeated(std::size_t times, const std::string &text) {
  std::string result;
  for (std::size_t time = 0; time < times; ++time) result += text;
  return result;
}

TEST(DownloadName, SuggestedNameBecomesOnePathComponent) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"report.pdf", "report.pdf"},
      {"a/b.csv", "a-b.csv"},
      {"/etc/passwd", "-etc-passwd"},
      {"../../.profile", "..-..-.profile"},
      {"../", "..-"},
      {"/", "-"},
      {"...", "..."},
      {".profile", ".profile"},
      {" ", " "},
      {"annual\\report.pdf", "annual\\report.pdf"},
      {"résumé €.xlsx", "résumé €.xlsx"},
      {"-rf", "-rf"},
      {"line\n2.txt", "line\n2.txt"},
  };
  for (const auto &[suggested, name] : rows) EXPECT_EQ(downloadName(suggested, url()), name);
}

TEST(DownloadName, UnusableSuggestionFallsBackToUrlElseToUnknown) {
  for (const auto &suggested : std::vector<std::optional<std::string>>{std::nullopt, "", ".", "..",
                                                                       std::string("a\0b", 3)}) {
    EXPECT_EQ(downloadName(suggested, url()), lastUrlComponent);
  }
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/api/export?type=csv")), "export");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/folder/a%20b.csv/")), "a b.csv");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/folder/a~b.csv/?x")), "a~b.csv");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/folder/a%2Fb.csv")), "a-b.csv");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/folder/%2Fb.csv?x/y#/z")), "-b.csv");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test//a.csv//")), "a.csv");
  // Url::path is "/": the decoded "///" without trailing slashes.
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/%2F%2F")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/%2E%2E")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/folder/..")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/a.csv#/b.csv")), "a.csv");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/a.csv#b?c")), "a.csv");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test/")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test:8080/")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test:8080")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("http://h.test")), "h.test");
  EXPECT_EQ(downloadName(std::nullopt, url("about:blank")), "unknown");
  EXPECT_EQ(downloadName(std::nullopt, url("a%20b.csv?x")), "a b.csv");
}

TEST(DownloadName, LongNameIsTruncatedToMaxSize) {
  // With ".csv", a name of exactly 255 bytes, the limit.
  const std::string maxStem(251, 'x');
  EXPECT_EQ(downloadName(maxStem + ".csv", url()), maxStem + ".csv");
  EXPECT_EQ(downloadName(maxStem + "y.csv", url()), maxStem + ".csv");
  EXPECT_EQ(downloadName(std::string(300, 'x'), url()), std::string(255, 'x'));
  // The limit is inside the last two-byte character of the stem.
  EXPECT_EQ(downloadName(repeated(126, "é") + ".csv", url()), repeated(125, "é") + ".csv");
  // The truncated stem is empty, because all its bytes are UTF-8 continuation bytes.
  EXPECT_EQ(downloadName(std::string(300, '\x80'), url()), lastUrlComponent);
  // Unusable although the NUL is beyond the limit.
  EXPECT_EQ(downloadName(std::string(300, 'x') + '\0', url()), lastUrlComponent);
  // An extension that leaves no byte for the stem is dropped.
  EXPECT_EQ(downloadName("a." + std::string(300, 'x'), url()), "a");
  EXPECT_EQ(downloadName("a." + std::string(254, 'x'), url()), "a");
  EXPECT_EQ(downloadName("ab." + std::string(253, 'x'), url()), "a." + std::string(253, 'x'));
}

TEST(DownloadName, NumberFollowsStem) {
  EXPECT_EQ(numberedName("data.csv", 2), "data 2.csv");
  EXPECT_EQ(numberedName("data.csv", 10), "data 10.csv");
  EXPECT_EQ(numberedName("report", 2), "report 2");
  EXPECT_EQ(numberedName("archive.tar.gz", 2), "archive.tar 2.gz");
  EXPECT_EQ(numberedName(".profile", 2), ".profile 2");
  EXPECT_EQ(numberedName("name.", 2), "name. 2");
  EXPECT_EQ(numberedName("data 2.csv", 2), "data 2 2.csv");
  // A space after the full stop: the name has no extension.
  EXPECT_EQ(numberedName("Quote v1.2 client", 2), "Quote v1.2 client 2");
}

TEST(DownloadName, NumberedNameIsTruncatedToMaxSize) {
  const std::string maxStem(251, 'x');
  EXPECT_EQ(numberedName(maxStem + ".csv", 2), std::string(249, 'x') + " 2.csv");
  EXPECT_EQ(numberedName(maxStem + ".csv", 10), std::string(248, 'x') + " 10.csv");
  EXPECT_EQ(numberedName(std::string(255, 'x'), 2), std::string(253, 'x') + " 2");
  EXPECT_EQ(numberedName(repeated(125, "é") + ".csv", 2), repeated(124, "é") + " 2.csv");
  EXPECT_EQ(numberedName("a." + std::string(300, 'x'), 2), "a 2");
  // The truncated stem is empty, because all its bytes are UTF-8 continuation bytes.
  EXPECT_EQ(numberedName(std::string(300, '\x80'), 2), " 2");
}

}  // namespace
}  // namespace orvel
