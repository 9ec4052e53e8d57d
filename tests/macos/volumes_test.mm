// Moves and replacements between two volumes.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "base/file_move.h"
#include "platform/macos/foundation/file_manager_locations.h"
#include "tests/macos/macos_test_support.h"
#include "tests/support/posix_test_support.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

/// A disk image, mounted at a temporary folder.
class Volume {
 public:
  Volume() {
    const std::string image = folder_.path() / "image.dmg";
    fs::create_directory(path());
    runCommand("hdiutil create -quiet -size 32m -fs APFS -volname orvel-test '" + image + "'");
    runCommand("hdiutil attach -quiet -nobrowse -mountpoint '" + path().string() + "' '" + image +
               "'");
  }
  ~Volume() { std::system(("hdiutil detach -quiet -force '" + path().string() + "'").c_str()); }
  Volume(const Volume &) = delete;
  Volume &operator=(const Volume &) = delete;

  fs::path path() const { return folder_.path() / "volume"; }

 private:
  const TemporaryFolder folder_;
};

class TwoVolumes : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  const Volume volume_;
};

TEST_F(TwoVolumes, FileMovesToOtherVolumeWithItsQuarantine) {
  const std::string from = folder_.file("download", "contents");
  const std::string to = volume_.path() / "moved";
  FileManagerLocations().quarantine(from, Url::parse("https://os.test/file").value());
  EXPECT_EQ(moveFile(from, to), MoveResult::moved);
  EXPECT_FALSE(fs::exists(from));
  EXPECT_EQ(posix_test::contentsOf(to), "contents");
  EXPECT_NE(quarantineOf(to), "");
}

TEST_F(TwoVolumes, MoveToExistingFileFailsAndKeepsBoth) {
  const std::string from = folder_.file("download", "new");
  const std::string to = volume_.path() / "existing";
  std::ofstream(to) << "old";
  EXPECT_EQ(moveFile(from, to), MoveResult::destinationExists);
  EXPECT_EQ(posix_test::contentsOf(from), "new");
  EXPECT_EQ(posix_test::contentsOf(to), "old");
}

// NSFileManager may refuse to replace a folder by one of another volume, so both results are valid.
TEST_F(TwoVolumes, FolderIsReplacedCompletelyOrNotAtAll) {
  const fs::path original = folder_.path() / "Orvel OS.app";
  const fs::path replacement = volume_.path() / "Orvel OS.app";
  for (const auto &[folder, contents] :
       {std::pair(original, "old"), std::pair(replacement, "new")}) {
    fs::create_directory(folder);
    for (const char *name : {"first", "second"}) std::ofstream(folder / name) << contents;
  }
  const bool replaced = FileManagerLocations().replaceItem(original, replacement);
  for (const char *name : {"first", "second"}) {
    EXPECT_EQ(posix_test::contentsOf(original / name), replaced ? "new" : "old") << name;
  }
}

}  // namespace
}  // namespace orvel
