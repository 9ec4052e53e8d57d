#include "platform/linux/files/plist_bundle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>
#include <vector>

#include "base/property_list.h"
#include "platform/linux/files/plist_file.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

using namespace std::string_literals;

constexpr const char *plistHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">";

/// Returns a property list with these entries in its dictionary.
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

TEST(PlistBundle, InfoPlistIsReadOnceAtConstruction) {
  const TemporaryFolder folder;
  const auto write = [&](const std::string &version) {
    std::filesystem::create_directories(folder.path() / "Contents");
    folder.file("Contents/Info.plist", dictionary("<key>CFBundleShortVersionString</key><string>" +
                                                  version + "</string>"));
  };
  const PlistBundle withoutInfoPlist(folder.path());
  write("1");
  EXPECT_FALSE(withoutInfoPlist.hasInfoDictionary());
  EXPECT_EQ(withoutInfoPlist.infoText("CFBundleShortVersionString"), std::nullopt);
  const PlistBundle bundle(folder.path());
  write("2");
  EXPECT_TRUE(bundle.hasInfoDictionary());
  EXPECT_EQ(bundle.infoText("CFBundleShortVersionString"), "1");
  EXPECT_EQ(bundle.infoText("Missing"), std::nullopt);
}

TEST(PlistFile, OnlyStringsOfTopLevelAreReturned) {
  EXPECT_EQ(
      parsePlistTexts(dictionary(mixedEntries)),
      (TextMap{
          {"CFBundleShortVersionString", "1.2"}, {"ORVELOSKey", "k<e&y \xC3\xA9"}, {"Empty", ""}}));
}

TEST(PlistFile, UnreadableOrOversizedFileIsRejected) {
  const TemporaryFolder folder;
  std::string list = dictionary(mixedEntries);
  EXPECT_EQ(readPlistTexts(folder.file("list", list)), parsePlistTexts(list));
  list.resize(maxPropertyListSize + 1, ' ');
  for (const std::string &path :
       {folder.file("large", list), folder.file("empty", ""),
        folder.file("text", R"({"CFBundleIdentifier":"x"})"),
        std::string(folder.path() / "missing"), std::string(folder.path() / "missing" / "below"),
        std::string(folder.path()), std::string("/dev/zero")}) {
    EXPECT_EQ(readPlistTexts(path), std::nullopt) << path;
  }
}

TEST(PlistFile, EntitiesCdataAndEmptyElementsAreDecoded) {
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
              (TextMap{{"a", text}}))
        << spelling;
  }
  EXPECT_EQ(parsePlistTexts(dictionary("<key/><string/>")), (TextMap{{"", ""}}));
  EXPECT_EQ(parsePlistTexts(plistHead + std::string("<dict/></plist>")), TextMap());
}

TEST(PlistFile, LastOfDuplicateKeysWins) {
  EXPECT_EQ(parsePlistTexts(dictionary("<key>a</key><string>1</string>"
                                       "<key>a</key><string>2</string>")),
            (TextMap{{"a", "2"}}));
  EXPECT_EQ(parsePlistTexts(dictionary("<key>a</key><string>1</string><key>a</key><true/>")),
            TextMap());
}

TEST(PlistFile, ListWithoutExactlyOneTopLevelDictionaryIsRejected) {
  for (const char *top : {"", "<array><string>x</string></array>", "<string>x</string>", "<true/>",
                          "<dict></dict><dict></dict>", "x<dict></dict>"}) {
    EXPECT_EQ(parsePlistTexts(plistHead + std::string(top) + "</plist>"), std::nullopt) << top;
  }
  EXPECT_EQ(parsePlistTexts("<dict></dict>"), std::nullopt);
}

TEST(PlistFile, InvalidEntriesAreRejected) {
  std::vector<std::string> rows{
      "<key>a</key>",
      "<string>x</string>",
      "<key>a</key><key>b</key><string>x</string>",
      "<key>a</key><string>x</string><string>y</string>",
      "<key>a</key><text>x</text>",
      "<key>a</key>x<string>y</string>",
      "<key><b>a</b></key><string>x</string>",
      "<key>a</key><string>x<b>y</b></string>",
      "<key>a\0b</key><true/>"s,
  };
  for (const std::string invalidUtf8OrNul :
       {"\xff", "\xc3", "\xed\xa0\x80", "\xf5\x80\x80\x80", "&#0;", "&#x0;", "&#xD800;"}) {
    rows.push_back("<key>a</key><string>" + invalidUtf8OrNul + "</string>");
    rows.push_back("<key>" + invalidUtf8OrNul + "</key><true/>");
  }
  for (const std::string &entries : rows) {
    EXPECT_EQ(parsePlistTexts(dictionary(entries)), std::nullopt) << entries;
  }
}

TEST(PlistFile, TruncatedListIsRejected) {
  const std::string whole = dictionary(mixedEntries);
  ASSERT_TRUE(parsePlistTexts(whole));
  // Without its final line feed the list is still complete.
  for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
    EXPECT_EQ(parsePlistTexts(whole.substr(0, length)), std::nullopt)
        << "truncated to " << length << " bytes";
  }
}

TEST(PlistFile, EntityDeclarationOrBinaryFormatIsRejected) {
  EXPECT_EQ(parsePlistTexts("<!DOCTYPE plist [<!ENTITY a \"x\"><!ENTITY b \"&a;&a;\">]>"
                            "<plist version=\"1.0\"><dict><key>a</key><string>&b;</string></dict>"
                            "</plist>"),
            std::nullopt);
  // An empty dictionary in the binary format, with a trailer of zeros.
  EXPECT_EQ(parsePlistTexts("bplist00" + std::string("\xD0\x08", 2) + std::string(32, '\0')),
            std::nullopt);
}

TEST(PlistFile, DeeplyNestedListIsParsedWhenComplete) {
  // The list with 7,500 levels has 113 kB. The largest allowed list has 128 kB.
  for (const int depth : {500, 7'500}) {
    std::string opened;
    std::string closed;
    for (int level = 0; level < depth; ++level) {
      opened += "<array>";
      closed += "</array>";
    }
    // A list with twice the levels that ends before the end tags.
    EXPECT_EQ(parsePlistTexts(plistHead + opened + opened), std::nullopt);
    EXPECT_EQ(parsePlistTexts(
                  dictionary("<key>a</key>" + opened + closed + "<key>b</key><string>x</string>")),
              (TextMap{{"b", "x"}}));
  }
}

}  // namespace
}  // namespace orvel
