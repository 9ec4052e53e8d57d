#include "platform/linux/files/archive_unpacker.h"

#include <gtest/gtest.h>

#include "platform/posix/posix_process_launcher.h"
#include "tests/linux/files/forked_child.h"
#include "tests/linux/files/release_program.h"
#include "tests/linux/files/zip_archive.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

const std::string programName = "Orvel OS.app/Contents/Linux/orvel-os";

/// Returns the entries of a release, with these bytes as its program.
std::vector<ZipEntry> release(const std::string &program = releaseProgram()) {
  return {zipFolder("Orvel OS.app/"), zipFile("Orvel OS.app/Contents/Info.plist", "information"),
          zipFile(programName, program, 0755), zipLink("Orvel OS.app/Contents/Current", "Linux")};
}

class ArchiveUnpacking : public testing::Test {
 protected:
  void clearWorkingFolder() const {
    fs::remove_all(working_);
    fs::create_directories(working_);
  }
  /// Unpacks the archive into an empty working folder.
  void unpack() const {
    clearWorkingFolder();
    unpacker_.unpack(archive_, working_);
  }
  void unpack(const std::vector<ZipEntry> &entries) const {
    writeZip(archive_, entries);
    unpack();
  }
  /// Unpacks an archive with these entries. Expects that no bundle exists afterwards.
  void expectRejected(const std::vector<ZipEntry> &entries) const {
    unpack(entries);
    EXPECT_FALSE(fs::exists(fs::symlink_status(bundle_)));
  }

  const TemporaryFolder folder_;
  const fs::path working_ = folder_.path() / "working folder";
  const fs::path bundle_ = working_ / "Orvel OS.app";
  const fs::path archive_ = folder_.path() / "archive";
  mutable PosixProcessLauncher launcher_{processEnvironment()};
  const ArchiveUnpacker unpacker_{launcher_};
};

TEST_F(ArchiveUnpacking, BundleIsUnpackedWithoutExecution) {
  unpack(release());
  const Tree tree = treeOf(bundle_);
  // The bundle, its three entries in the archive, and the folders Contents and Linux. Without the
  // file "executed", which the program would create.
  EXPECT_EQ(tree.size(), 6U);
  EXPECT_EQ(tree.at("Contents/Info.plist"), "file 644 information");
  EXPECT_EQ(tree.at("Contents/Current"), "link to Linux");
  EXPECT_TRUE(tree.at("Contents/Linux/orvel-os").starts_with("file 755 "));
  EXPECT_EQ(contentsOf(working_ / programName), releaseProgram());
}

TEST_F(ArchiveUnpacking, BundleWithoutLoadableProgramAtItsPathIsRejected) {
  expectRejected({zipFile("Orvel OS.app/Contents/Info.plist", "x")});
  expectRejected({zipFolder(programName + "/")});
  // The program needs a library that does not exist.
  expectRejected(release(releaseProgramWith("libc.so.6", "libq.so.6")));
  expectRejected({zipFile("Orvel OS 1.3.app/Contents/Linux/orvel-os", releaseProgram(), 0755)});
  expectRejected({zipFile("folder/" + programName, releaseProgram(), 0755)});
}

TEST_F(ArchiveUnpacking, PartiallyUnpackableArchiveLeavesNoBundle) {
  auto entries = release();
  entries.push_back(zipLink("absolute link", "/etc"));
  expectRejected(entries);
  writeZip(archive_, release());
  fs::resize_file(archive_, fs::file_size(archive_) - 1);
  unpack();
  EXPECT_FALSE(fs::exists(bundle_));
}

TEST_F(ArchiveUnpacking, MissingWorkingFolderIsNotCreated) {
  writeZip(archive_, release());
  unpacker_.unpack(archive_, working_);
  EXPECT_FALSE(fs::exists(working_));
}

TEST_F(ArchiveUnpacking, KillAtAnySystemCallLeavesWholeBundleOrNone) {
  unpack(release());
  const Tree whole = treeOf(bundle_);
  int children = 0;
  bool sawNone = false;
  const bool isTraceable = killAtEverySystemCall([this] { clearWorkingFolder(); },
                                                 [this] {
                                                   unpacker_.unpack(archive_, working_);
                                                   return true;
                                                 },
                                                 [&] {
                                                   ++children;
                                                   const Tree left = treeOf(bundle_);
                                                   sawNone = sawNone || left.empty();
                                                   EXPECT_TRUE(left.empty() || left == whole);
                                                 });
  if (!isTraceable) GTEST_SKIP() << "ptrace is not permitted";
  EXPECT_EQ(treeOf(bundle_), whole);
  // Unpacking needs more than 20 system calls.
  EXPECT_GT(children, 20);
  EXPECT_TRUE(sawNone);
}

}  // namespace
}  // namespace orvel
