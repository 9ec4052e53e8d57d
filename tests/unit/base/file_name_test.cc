#include "base/file_name.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvel {
namespace {

TEST(FileName, ExtensionBeginsAtLastFullStopUnlessItIsFirstOrLastCharacter) {
  struct Row {
    std::string name;
    std::string stem;
    std::string extension;
  };
  const std::vector<Row> rows{
      {"data.csv", "data", ".csv"},
      {"archive.tar.gz", "archive.tar", ".gz"},
      {"my report v1.2.pdf", "my report v1.2", ".pdf"},
      {".profile.txt", ".profile", ".txt"},
      {"caf\u00E9.\u00E9t\u00E9", "caf\u00E9", ".\u00E9t\u00E9"},
      {"", "", ""},
      {".", ".", ""},
      {"..", "..", ""},
      {"...", "...", ""},
      {"report", "report", ""},
      {".profile", ".profile", ""},
      {"name.", "name.", ""},
  };
  for (const auto &[name, stem, extension] : rows) {
    EXPECT_EQ(splitFileName(name).stem, stem) << name;
    EXPECT_EQ(splitFileName(name).extension, extension) << name;
  }
}

/// The last path component of a URL and the extension that Foundation's NSURL gives for it.
struct PathExtension {
  std::string name;
  std::string extension;
};

const PathExtension pathExtensions[] = {
#include "tests/support/data/nsurl_path_extensions.inc"
};

TEST(FileName, ExtensionAgreesWithNsurl) {
  for (const auto &[name, extension] : pathExtensions) {
    const FileName split = splitFileName(name);
    EXPECT_EQ(split.extension, extension.empty() ? "" : "." + extension) << name;
    EXPECT_EQ(std::string(split.stem) + std::string(split.extension), name);
  }
}

TEST(FileName, SpaceOrBidirectionalControlAfterFullStopPreventsExtension) {
  // NOLINTBEGIN(misc-misleading-bidirectional)
  for (const std::string character :
       {" ", "\u200E", "\u200F", "\u061C", "\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
        "\u2066", "\u2067", "\u2068", "\u2069"}) {
    // NOLINTEND(misc-misleading-bidirectional)
    for (const std::string &name : {"Quote v1.2" + character + "client", "a." + character + "b",
                                    "a.b" + character, "a." + character}) {
      EXPECT_EQ(splitFileName(name).stem, name);
      EXPECT_EQ(splitFileName(name).extension, "");
    }
    EXPECT_EQ(splitFileName("a" + character + ".b").extension, ".b");
  }
  // Code points next to those above, other white space and an ordinary character.
  for (const std::string other : {"\u200D", "\u2010", "\u2029", "\u202F", "\u2065", "\u206A",
                                  "\u061B", "\u00A0", "\t", "_"}) {
    EXPECT_EQ(splitFileName("a.b" + other).extension, ".b" + other);
  }
}

}  // namespace
}  // namespace orvel
