#include "platform/linux/http/media_type.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

class MediaType : public testing::Test {
 public:
  /// Restores the folders of the system's database.
  ~MediaType() override { g_content_type_set_mime_dirs(nullptr); }

 protected:
  /// Adds a type with glob elements to a folder of the database (Shared MIME-info Database,
  /// section 2.2).
  void addType(const std::string &folder, const std::string &type, const std::string &globs) {
    const auto path = folder_.path() / folder / (type + ".xml");
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mime-type type=\"" << type
                        << "\">" << globs << "</mime-type>\n";
  }
  /// Returns the extension of a type in the database of this test.
  std::optional<std::string> extensionOf(const std::string &type) const {
    const std::string user = folder_.path() / "user";
    const std::string system = folder_.path() / "system";
    const std::array<const char *, 3> folders{user.c_str(), system.c_str(), nullptr};
    g_content_type_set_mime_dirs(folders.data());
    return usualExtension(type);
  }

  TemporaryFolder folder_;
};

TEST_F(MediaType, FirstExtensionOfHighestWeightIsChosen) {
  addType("system", "a/b",
          "<glob pattern=\"*.low\" weight=\"40\"/><glob pattern=\"*.one\"/>"
          "<glob pattern=\"*.two\" weight=\"50\"/>");
  EXPECT_EQ(extensionOf("a/b"), "one");
  // The default weight is 50. The extensions of the user follow those of the system.
  addType("user", "a/b", R"(<glob pattern="*.own"/>)");
  EXPECT_EQ(extensionOf("a/b"), "one") << "a later extension of the same weight was chosen";
  addType("user", "a/b", R"(<glob weight="80" pattern="*.own"/>)");
  EXPECT_EQ(extensionOf("a/b"), "own");
}

TEST_F(MediaType, PatternWithoutLiteralExtensionIsIgnored) {
  addType("system", "a/b",
          "<glob pattern=\"README*\"/><glob pattern=\"*,v\"/><glob pattern=\"*.\"/>"
          "<glob pattern=\"*.[0-9]\"/><glob pattern=\"*.x*\"/><glob pattern=\"*./../x\"/>"
          "<glob/><glob pattern=\"*.tar.gz\"/>");
  EXPECT_EQ(extensionOf("a/b"), "tar.gz");
  addType("system", "a/c", "<glob pattern=\"README*\"/>");
  EXPECT_EQ(extensionOf("a/c"), std::nullopt);
}

TEST_F(MediaType, AliasHasExtensionOfItsType) {
  addType("system", "a/b", "<glob pattern=\"*.one\"/>");
  // The second alias leads out of the database and is ignored.
  std::ofstream(folder_.path() / "system" / "aliases") << "x/other a/b\nx/away ../a/b\n";
  EXPECT_EQ(extensionOf("x/other"), "one");
  EXPECT_EQ(extensionOf("x/oth"), std::nullopt);
  EXPECT_EQ(extensionOf("x/away"), std::nullopt);
}

TEST_F(MediaType, CaseAndParametersAreIgnored) {
  addType("system", "a/b", "<glob pattern=\"*.one\"/>");
  for (const char *type : {"a/b", "A/B", " a/b ", "a/b;charset=utf-8", "a/b ; x=\"y/z\""}) {
    EXPECT_EQ(extensionOf(type), "one") << type;
  }
}

TEST_F(MediaType, MalformedTypeHasNoExtension) {
  // A file outside the database, as a target for "../b".
  addType("", "b", "<glob pattern=\"*.one\"/>");
  addType("system", "a/b", "<glob pattern=\"*.one\"/>");
  for (const char *type : {"", "/", "a", "a/", "/b", "../b", "./b", "a/../b", "a//b", "a/b/", ".",
                           "a/.b", "a/b\n", "a/b%"}) {
    EXPECT_EQ(extensionOf(type), std::nullopt) << type;
  }
}

TEST_F(MediaType, MissingDatabaseHasNoExtension) {
  EXPECT_EQ(extensionOf("text/plain"), std::nullopt);
}

TEST_F(MediaType, SystemDatabaseHasUsualExtensions) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> rows{
      {"text/plain", "txt"},
      {"text/calendar", "ics"},
      {"text/vcard", "vcf"},
      {"text/xml", "xml"},  // An alias of application/xml.
      {"image/jpeg", "jpg"},
      {"audio/ogg", "ogg"},
      {"application/x-zip-compressed", "zip"},
      {"application/vnd.ms-excel", "xls"},
      {"application/octet-stream", std::nullopt},
  };
  for (const auto &[type, extension] : rows) {
    EXPECT_EQ(usualExtension(type), extension) << type;
  }
}

}  // namespace
}  // namespace orvel
