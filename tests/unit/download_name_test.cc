#include "web/download_name.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace orvel {
namespace {

Url file(const std::string &url = "http://127.0.0.1:4767/api/bestand/12") {
  return *Url::parse(url);
}

std::string repeated(std::size_t times, const std::string &text) {
  std::string all;
  for (std::size_t time = 0; time < times; ++time) all += text;
  return all;
}

TEST(DownloadName, isTheSuggestedOneMadeSafe) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"rapport.pdf", "rapport.pdf"},
      {"a/b.csv", "a-b.csv"},
      {"/etc/passwd", "-etc-passwd"},
      {"../../.profile", "..-..-.profile"},
      {"../", "..-"},
      {"/", "-"},
      {"...", "..."},
      {".profile", ".profile"},
      {" ", " "},
      {"jaar\\verslag.pdf", "jaar\\verslag.pdf"},
      {"überzicht €.xlsx", "überzicht €.xlsx"},
      {"-rf", "-rf"},
      {"regel\n2.txt", "regel\n2.txt"},
  };
  for (const auto &[suggested, name] : rows) EXPECT_EQ(downloadName(suggested, file()), name);
}

TEST(DownloadName, comesFromTheUrlWhenNothingUsableIsSuggested) {
  for (const auto &suggested : std::vector<std::optional<std::string>>{std::nullopt, "", ".", "..",
                                                                       std::string("a\0b", 3)}) {
    EXPECT_EQ(downloadName(suggested, file()), "12");
  }
  EXPECT_EQ(downloadName({}, file("http://h.test/api/export?soort=csv")), "export");
  EXPECT_EQ(downloadName({}, file("http://h.test/map/a%20b.csv/")), "a b.csv");
  EXPECT_EQ(downloadName({}, file("http://h.test/map/a%2Fb.csv")), "a-b.csv");
  EXPECT_EQ(downloadName({}, file("http://h.test/map/%2Fb.csv?x/y#/z")), "-b.csv");
  EXPECT_EQ(downloadName({}, file("http://h.test//a.csv//")), "a.csv");
  EXPECT_EQ(downloadName({}, file("http://h.test/%2F%2F")), "h.test");
  EXPECT_EQ(downloadName({}, file("http://h.test/%2E%2E")), "h.test");
  EXPECT_EQ(downloadName({}, file("http://h.test/map/..")), "h.test");
  EXPECT_EQ(downloadName({}, file("http://h.test/")), "h.test");
  EXPECT_EQ(downloadName({}, file("http://h.test")), "h.test");
  EXPECT_EQ(downloadName({}, file("about:blank")), "unknown");
  EXPECT_EQ(downloadName({}, file("a%20b.csv?x")), "a b.csv");
}

TEST(DownloadName, fitsAFileSystem) {
  const std::string longest(251, 'x');
  EXPECT_EQ(downloadName(longest + ".csv", file()), longest + ".csv");
  EXPECT_EQ(downloadName(longest + "y.csv", file()), longest + ".csv");
  EXPECT_EQ(downloadName(std::string(300, 'x'), file()), std::string(255, 'x'));
  // 125 characters of two bytes and a stem's end that falls inside one.
  EXPECT_EQ(downloadName(repeated(126, "é") + ".csv", file()), repeated(125, "é") + ".csv");
  EXPECT_EQ(downloadName("a." + std::string(300, 'x'), file()), "a");
  EXPECT_EQ(downloadName(std::string(300, '\x80'), file()), "12");
  EXPECT_EQ(downloadName("a." + std::string(254, 'x'), file()), "a");
  EXPECT_EQ(downloadName("ab." + std::string(253, 'x'), file()), "a." + std::string(253, 'x'));
}

TEST(NumberedName, countsBehindTheStem) {
  const std::vector<std::tuple<std::string, int, std::string>> rows{
      {"data.csv", 2, "data 2.csv"},
      {"data.csv", 3, "data 3.csv"},
      {"data.csv", 10, "data 10.csv"},
      {"rapport", 2, "rapport 2"},
      {"archief.tar.gz", 2, "archief.tar 2.gz"},
      {".profile", 2, ".profile 2"},
      {".profile.txt", 2, ".profile 2.txt"},
      {"naam.", 2, "naam. 2"},
      {"...", 2, "... 2"},
      {"data 2.csv", 2, "data 2 2.csv"},
      {"a b.c d", 2, "a b.c d 2"},
      {"Quote v1.2 client", 2, "Quote v1.2 client 2"},
      {"Quote v1.2 client.pdf", 2, "Quote v1.2 client 2.pdf"},
  };
  for (const auto &[name, number, numbered] : rows) {
    EXPECT_EQ(numberedName(name, number), numbered);
  }
}

TEST(NumberedName, fitsAFileSystem) {
  const std::string longest(251, 'x');
  EXPECT_EQ(numberedName(longest + ".csv", 2), std::string(249, 'x') + " 2.csv");
  EXPECT_EQ(numberedName(longest + ".csv", 10), std::string(248, 'x') + " 10.csv");
  EXPECT_EQ(numberedName(std::string(255, 'x'), 2), std::string(253, 'x') + " 2");
  EXPECT_EQ(numberedName(repeated(125, "é") + ".csv", 2), repeated(124, "é") + " 2.csv");
  // No character ends anywhere in such a stem.
  EXPECT_EQ(numberedName(std::string(300, '\x80'), 2), " 2");
}

}  // namespace
}  // namespace orvel
