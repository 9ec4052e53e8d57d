// Property lists, and the Info.plist of a bundle.

#include "platform/linux/files/plist_bundle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "platform/linux/files/plist_file.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

constexpr const char *plistHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">";

std::string dictionary(const std::string &entries) {
  return plistHead + ("<dict>" + entries) + "</dict></plist>\n";
}

const std::string mixedEntries =
    "<key>CFBundleShortVersionString</key><string>1.2</string>"
    "<key>ORVELOSKey</key><string>k&lt;e&amp;y \xC3\xA9</string>"
    "<key>Empty</key><string></string>"
    "<key>Number</key><integer>3</integer><key>Real</key><real>1.3</real>"
    "<key>Truth</key><true/><key>Date</key><date>2026-01-01T00:00:00Z</date>"
    "<key>Bytes</key><data>eA==</data>"
    "<key>List</key><array><string>x</string></array>"
    "<key>Dictionary</key><dict><key>Inner</key><string>x</string></dict>";

class PlistBundleInfo : public testing::Test {
 protected:
  PlistBundle with(const std::string &information) {
    std::filesystem::create_directories(bundle_ / "Contents");
    std::ofstream(bundle_ / "Contents" / "Info.plist") << information;
    return PlistBundle(bundle_);
  }

  const TemporaryFolder folder_;
  const std::filesystem::path bundle_ = folder_.path() / "Orvel OS.app";
};

TEST_F(PlistBundleInfo, OnlyStringsOfTopLevelAreReturned) {
  const auto bundle = with(dictionary(mixedEntries));
  EXPECT_EQ(bundle.infoText("CFBundleShortVersionString"), "1.2");
  EXPECT_EQ(bundle.infoText("ORVELOSKey"), "k<e&y \xC3\xA9");
  EXPECT_EQ(bundle.infoText("Empty"), "");
  for (const char *key : {"Number", "Real", "Truth", "Date", "Bytes", "List", "Dictionary", "Inner",
                          "Missing", "orvelosKey"}) {
    EXPECT_EQ(bundle.infoText(key), std::nullopt) << key;
  }
}

TEST_F(PlistBundleInfo, UnreadableFileLeavesEntriesAbsent) {
  EXPECT_EQ(PlistBundle(bundle_).infoText("ORVELOSKey"), std::nullopt);
  EXPECT_EQ(with("").infoText("ORVELOSKey"), std::nullopt);
  EXPECT_EQ(with("not a property list").infoText("ORVELOSKey"), std::nullopt);
  std::string huge = dictionary("<key>ORVELOSKey</key><string>x</string>");
  EXPECT_EQ(with(huge).infoText("ORVELOSKey"), "x");
  huge.resize(1'000'000, ' ');
  EXPECT_EQ(with(huge).infoText("ORVELOSKey"), std::nullopt);
  std::filesystem::remove_all(bundle_);
  std::filesystem::create_directories(bundle_ / "Contents" / "Info.plist");
  EXPECT_EQ(PlistBundle(bundle_).infoText("ORVELOSKey"), std::nullopt);
}

TEST_F(PlistBundleInfo, FileIsReadOnlyAtConstruction) {
  const auto bundle = with(dictionary("<key>CFBundleShortVersionString</key><string>1</string>"));
  with(dictionary("<key>CFBundleShortVersionString</key><string>2</string>"));
  EXPECT_EQ(bundle.infoText("CFBundleShortVersionString"), "1");
}

TEST(PlistFile, FileIsParsed) {
  const TemporaryFolder folder;
  const std::string xml = dictionary(mixedEntries);
  EXPECT_EQ(readPlistTexts(folder.file("list", xml)), parsePlistTexts(xml));
  EXPECT_NE(parsePlistTexts(xml), std::nullopt);
  EXPECT_EQ(readPlistTexts(folder.path() / "missing"), std::nullopt);
  EXPECT_EQ(readPlistTexts(folder.path() / "missing" / "below"), std::nullopt);
  EXPECT_EQ(readPlistTexts(folder.path()), std::nullopt);
  EXPECT_EQ(readPlistTexts(folder.file("text", R"({"CFBundleIdentifier":"x"})")), std::nullopt);
  EXPECT_EQ(readPlistTexts("/dev/zero"), std::nullopt);
}

TEST(PlistFile, TextAndEntitiesAreDecoded) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"a b", "a b"},
      {" a\n b ", " a\n b "},
      {"&lt;&gt;&amp;&quot;&apos;", "<>&\"'"},
      {"&#x41;&#233;", "A\xC3\xA9"},
      {"<![CDATA[<b>&amp;]]>", "<b>&amp;"},
      {"a<!-- not this -->b", "ab"},
  };
  for (const auto &[spelling, text] : rows) {
    EXPECT_EQ(parsePlistTexts(dictionary("<key>a</key><string>" + spelling + "</string>")),
              (PlistTexts{{"a", text}}))
        << spelling;
  }
  EXPECT_EQ(parsePlistTexts(dictionary("<key/><string/>")), (PlistTexts{{"", ""}}));
  EXPECT_EQ(parsePlistTexts(plistHead + std::string("<dict/></plist>")), PlistTexts());
}

TEST(PlistFile, LastOfDuplicateKeysWins) {
  EXPECT_EQ(parsePlistTexts(dictionary("<key>a</key><string>1</string>"
                                       "<key>a</key><string>2</string>")),
            (PlistTexts{{"a", "2"}}));
  EXPECT_EQ(parsePlistTexts(dictionary("<key>a</key><string>1</string><key>a</key><true/>")),
            PlistTexts());
}

TEST(PlistFile, OtherTopLevelThanDictionaryIsRejected) {
  for (const char *top : {"", "<array><string>x</string></array>", "<string>x</string>", "<true/>",
                          "<dict></dict><dict></dict>", "x<dict></dict>"}) {
    EXPECT_EQ(parsePlistTexts(plistHead + std::string(top) + "</plist>"), std::nullopt) << top;
  }
  EXPECT_EQ(parsePlistTexts("<dict></dict>"), std::nullopt);
  EXPECT_EQ(parsePlistTexts(dictionary("")), PlistTexts());
}

TEST(PlistFile, KeysAndValuesMustAlternate) {
  for (const char *entries :
       {"<key>a</key>", "<string>x</string>", "<key>a</key><key>b</key><string>x</string>",
        "<key>a</key><string>x</string><string>y</string>", "<key>a</key><text>x</text>",
        "<key>a</key>x<string>y</string>", "<key><b>a</b></key><string>x</string>",
        "<key>a</key><string>x<b>y</b></string>"}) {
    EXPECT_EQ(parsePlistTexts(dictionary(entries)), std::nullopt) << entries;
  }
}

TEST(PlistFile, TruncatedListIsRejectedAndCorruptListDoesNotCrash) {
  const std::string whole = dictionary(mixedEntries);
  ASSERT_TRUE(parsePlistTexts(whole));
  // Without its final line feed the list is still complete.
  for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
    EXPECT_EQ(parsePlistTexts(whole.substr(0, length)), std::nullopt) << length;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', '\x7f', '\xff', '<', '\xd1'}) {
      std::string corrupt = whole;
      corrupt[at] = byte;
      parsePlistTexts(corrupt);
    }
  }
}

TEST(PlistFile, InvalidUtf8OrNulIsRejected) {
  for (const std::string bytes :
       {"\xff", "\xc3", "\xed\xa0\x80", "\xf5\x80\x80\x80", "&#0;", "&#x0;", "&#xD800;"}) {
    EXPECT_EQ(parsePlistTexts(dictionary("<key>a</key><string>" + bytes + "</string>")),
              std::nullopt)
        << bytes;
    EXPECT_EQ(parsePlistTexts(dictionary("<key>" + bytes + "</key><true/>")), std::nullopt);
  }
  const std::string nul(1, '\0');
  EXPECT_EQ(parsePlistTexts(dictionary("<key>a" + nul + "b</key><true/>")), std::nullopt);
}

TEST(PlistFile, EntityDeclarationIsRejected) {
  const std::string bomb =
      "<!DOCTYPE plist [<!ENTITY a \"x\"><!ENTITY b \"&a;&a;\">]><plist version=\"1.0\"><dict>"
      "<key>a</key><string>&b;</string></dict></plist>";
  EXPECT_EQ(parsePlistTexts(bomb), std::nullopt);
}

TEST(PlistFile, BinaryFormatIsRejected) {
  EXPECT_EQ(parsePlistTexts("bplist00" + std::string("\xD0\x08", 2) + std::string(32, '\0')),
            std::nullopt);
}

TEST(PlistFile, DeepNestingIsParsed) {
  for (const std::size_t depth : {std::size_t{1'000}, std::size_t{15'000}}) {
    std::string opened;
    std::string closed;
    for (std::size_t level = 0; level < depth / 2; ++level) {
      opened += "<array>";
      closed += "</array>";
    }
    EXPECT_EQ(parsePlistTexts(plistHead + opened + opened), std::nullopt);
    EXPECT_EQ(parsePlistTexts(
                  dictionary("<key>a</key>" + opened + closed + "<key>b</key><string>x</string>")),
              (PlistTexts{{"b", "x"}}));
  }
}

}  // namespace
}  // namespace orvel
