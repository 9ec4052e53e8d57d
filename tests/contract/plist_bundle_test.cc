// What a bundle's information gives, whatever lies in its file.

#include "platform/linux/plist_bundle.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/linux/plist_file.h"
#include "tests/contract/posix_test_support.h"

namespace orvel {
namespace {

constexpr const char *head =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">";

std::string dictionary(const std::string &entries) {
  return head + ("<dict>" + entries) + "</dict></plist>\n";
}

const std::string mixedEntries =
    "<key>CFBundleShortVersionString</key><string>1.2</string>"
    "<key>ORVELOSKey</key><string>sl&lt;eu&amp;tel \xC3\xA9</string>"
    "<key>Empty</key><string></string>"
    "<key>Number</key><integer>3</integer><key>Real</key><real>1.3</real>"
    "<key>Truth</key><true/><key>Date</key><date>2026-01-01T00:00:00Z</date>"
    "<key>Bytes</key><data>eA==</data>"
    "<key>List</key><array><string>x</string></array>"
    "<key>Dictionary</key><dict><key>Inner</key><string>x</string></dict>";

std::string asBinary(const std::string &xml) {
  plist_t parsed = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
  char *bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(parsed, &bytes, &size);
  std::string binary(bytes, size);
  std::free(bytes);
  plist_free(parsed);
  return binary;
}

class PlistBundleTest : public testing::Test {
 protected:
  PlistBundle with(const std::string &information) {
    std::filesystem::create_directories(bundle_ / "Contents");
    std::ofstream(bundle_ / "Contents" / "Info.plist") << information;
    return PlistBundle(bundle_.string());
  }

  const posix_test::TemporaryFolder folder_;
  const std::filesystem::path bundle_ = folder_.path() / "Orvel OS.app";
};

/// In XML, and in the binary form.
class PlistFormat : public PlistBundleTest, public testing::WithParamInterface<bool> {};

TEST_P(PlistFormat, GivesTextsAndNothingElse) {
  const std::string xml = dictionary(mixedEntries);
  const auto bundle = with(GetParam() ? asBinary(xml) : xml);
  EXPECT_EQ(bundle.infoText("CFBundleShortVersionString"), "1.2");
  EXPECT_EQ(bundle.infoText("ORVELOSKey"), "sl<eu&tel \xC3\xA9");
  EXPECT_EQ(bundle.infoText("Empty"), "");
  for (const char *key : {"Number", "Real", "Truth", "Date", "Bytes", "List", "Dictionary", "Inner",
                          "Missing", "orvelosKey"}) {
    EXPECT_EQ(bundle.infoText(key), std::nullopt) << key;
  }
}

TEST_P(PlistFormat, StandsDamageAnywhereInTheFile) {
  const std::string xml = dictionary(mixedEntries);
  const std::string whole = GetParam() ? asBinary(xml) : xml;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    parsePlistTexts(whole.substr(0, length));
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', '\x7f', '\xff', '<', '\xd1'}) {
      std::string damaged = whole;
      damaged[at] = byte;
      parsePlistTexts(damaged);
    }
  }
  if (GetParam()) {
    EXPECT_EQ(parsePlistTexts(whole.substr(0, whole.size() - 1)), std::nullopt);
  }
}

TEST_P(PlistFormat, TakesNoOtherTopLevelThanADictionary) {
  for (const char *top : {"<array><string>x</string></array>", "<string>x</string>", "<true/>"}) {
    const std::string xml = head + std::string(top) + "</plist>";
    EXPECT_EQ(parsePlistTexts(GetParam() ? asBinary(xml) : xml), std::nullopt) << top;
  }
  const std::string empty = dictionary("");
  EXPECT_EQ(parsePlistTexts(GetParam() ? asBinary(empty) : empty), PlistTexts());
}

INSTANTIATE_TEST_SUITE_P(Formats, PlistFormat, testing::Bool(),
                         [](const auto &format) { return format.param ? "Binary" : "Xml"; });

TEST_F(PlistBundleTest, GivesNothingWithoutAReadableFile) {
  EXPECT_EQ(PlistBundle(bundle_.string()).infoText("ORVELOSKey"), std::nullopt);
  EXPECT_EQ(with("").infoText("ORVELOSKey"), std::nullopt);
  EXPECT_EQ(with("no list at all").infoText("ORVELOSKey"), std::nullopt);
  std::string huge = dictionary("<key>ORVELOSKey</key><string>x</string>");
  EXPECT_EQ(with(huge).infoText("ORVELOSKey"), "x");
  huge.resize(1'000'000, ' ');
  EXPECT_EQ(with(huge).infoText("ORVELOSKey"), std::nullopt);
  std::filesystem::remove_all(bundle_);
  std::filesystem::create_directories(bundle_ / "Contents" / "Info.plist");
  EXPECT_EQ(PlistBundle(bundle_.string()).infoText("ORVELOSKey"), std::nullopt);
}

TEST_F(PlistBundleTest, KeepsWhatItReadWhenMade) {
  const auto bundle = with(dictionary("<key>CFBundleShortVersionString</key><string>1</string>"));
  with(dictionary("<key>CFBundleShortVersionString</key><string>2</string>"));
  EXPECT_EQ(bundle.infoText("CFBundleShortVersionString"), "1");
}

TEST(PlistFile, IsReadWhereItLies) {
  const posix_test::TemporaryFolder folder;
  const std::string xml = dictionary(mixedEntries);
  for (const std::string &bytes : {xml, asBinary(xml)}) {
    EXPECT_EQ(readPlistTexts(folder.file("list", bytes)), parsePlistTexts(bytes));
    EXPECT_NE(parsePlistTexts(bytes), std::nullopt);
  }
  EXPECT_EQ(readPlistTexts((folder.path() / "missing").string()), std::nullopt);
  EXPECT_EQ(readPlistTexts((folder.path() / "missing" / "below").string()), std::nullopt);
  EXPECT_EQ(readPlistTexts(folder.path().string()), std::nullopt);
  EXPECT_EQ(readPlistTexts(folder.file("text", R"({"CFBundleIdentifier":"x"})")), std::nullopt);
  EXPECT_EQ(readPlistTexts("/dev/zero"), std::nullopt);
}

TEST(PlistFile, MayHoldWhatIsNotUtf8) {
  for (const char *bytes : {"\xff", "\xc3", "\xed\xa0\x80", "\xf5\x80\x80\x80"}) {
    const std::string xml =
        dictionary("<key>a</key><string>" + std::string(bytes) + "</string><key>b</key><true/>");
    parsePlistTexts(xml);
  }
}

TEST(PlistFile, IsNotBroughtDownByDepth) {
  for (const std::size_t depth : {std::size_t{1'000}, std::size_t{15'000}}) {
    std::string nested;
    for (std::size_t level = 0; level < depth; ++level) nested += "<array>";
    parsePlistTexts(head + nested);
    parsePlistTexts(dictionary("<key>a</key>" + nested));
  }
}

/// A dictionary whose value is an array of two references to the next array,
/// and so on: each level doubles what it stands for.
std::string doublingList(unsigned levels, const std::string &last = "Qv") {
  std::string bytes = "bplist00";
  std::string offsets;
  const auto add = [&](const std::string &object) {
    offsets += static_cast<char>(bytes.size() >> 8U);
    offsets += static_cast<char>(bytes.size() & 0xFFU);
    bytes += object;
  };
  add({"\xD1\x01\x02", 3});
  // Texts of one character.
  add("Qk");
  for (unsigned level = 0; level < levels; ++level) {
    const char next = static_cast<char>(level + 3);
    add({'\xA2', next, next});
  }
  add(last);
  const auto table = bytes.size();
  bytes += offsets;
  const auto number = [&](std::size_t value) {
    for (unsigned shift = 64; shift > 0; shift -= 8) {
      bytes += static_cast<char>(value >> (shift - 8) & 0xFFU);
    }
  };
  bytes += std::string(6, '\0') + "\x02\x01";
  number(offsets.size() / 2);
  number(0);
  number(table);
  return bytes;
}

TEST(PlistFile, IsNotBroughtDownByANulInAKey) {
  const std::string narrow = asBinary(dictionary("<key>abc</key><string>x</string>"));
  const std::string wide = asBinary(dictionary("<key>\xC3\xA9\x62\x63</key><string>x</string>"));
  for (const auto &[bytes, letter] : {std::pair(narrow, "b"), std::pair(wide, "b")}) {
    ASSERT_NE(parsePlistTexts(bytes), std::nullopt);
    std::string damaged = bytes;
    damaged[damaged.find(letter, 8)] = '\0';
    EXPECT_EQ(parsePlistTexts(damaged), std::nullopt);
  }
  parsePlistTexts(dictionary("<key>a&#0;b</key><string>x</string>"));
  parsePlistTexts(dictionary("<key>a&#x0;b</key><string>x</string>"));
  parsePlistTexts(dictionary("<key>a" + std::string(1, '\0') + "b</key><string>x</string>"));
}

TEST(PlistFile, IsNotBroughtDownByReferencesThatMultiply) {
  EXPECT_NE(parsePlistTexts(doublingList(3)), std::nullopt);
  EXPECT_EQ(parsePlistTexts(doublingList(60)), std::nullopt);
  // A text of 60 000 bytes.
  const std::string longText = "_\x11\xEA\x60" + std::string(60'000, 'x');
  EXPECT_NE(parsePlistTexts(doublingList(1, longText)), std::nullopt);
  EXPECT_EQ(parsePlistTexts(doublingList(10, longText)), std::nullopt);
}

TEST(PlistFile, IsNotBroughtDownByAListInsideItself) {
  std::string bytes = doublingList(1);
  // The array refers to itself.
  const auto array = bytes.find('\xA2');
  bytes[array + 1] = bytes[array + 2] = '\x02';
  EXPECT_EQ(parsePlistTexts(bytes), std::nullopt);
}

}  // namespace
}  // namespace orvel
