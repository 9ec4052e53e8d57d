#include "update/working_folder.h"

#include "base/folder_lock.h"
#include "tests/support/posix_test_support.h"
#include "tests/unit/installation_test.h"

namespace orvel {
namespace {

/// The working folder of a version is the folder into which its archive is unpacked.
using WorkingFolder = InstallationTest;

TEST_F(WorkingFolder, NameEndsWithVersion) {
  EXPECT_EQ(workingFolder("/tmp", "1.3"), "/tmp/orvel-os-update-1.3");
  EXPECT_EQ(workingFolder("/tmp", ""), "/tmp/orvel-os-update-");
  EXPECT_EQ(workingFolder("/tmp", "a/b"), "/tmp/orvel-os-update-a/b");
  EXPECT_EQ(workingFolder("/tmp", ".."), "/tmp/orvel-os-update-..");
  EXPECT_EQ(workingFolder("/tmp", "$(rm -rf ~) `x`\n"), "/tmp/orvel-os-update-$(rm -rf ~) `x`\n");
}

TEST_F(WorkingFolder, LockedTemporaryFolderEndsInstallation) {
  writeFile(workingFolderFor() + "/of another instance", "partial");
  // An installation that ignored the lock would remove the file.
  fake.edition.removesOtherWorkingFolders = true;
  {
    // Stands for another instance: two locks in one process exclude each other too.
    const FolderLock other(fake.locations.temporaryFolder);
    ASSERT_FALSE(other.isHeldElsewhere());
    install();
  }
  expectNotInstalled();
  EXPECT_TRUE(std::filesystem::exists(workingFolderFor() + "/of another instance"));
  install();
  EXPECT_EQ(installedVersion(), "new");
}

TEST_F(WorkingFolder, StaleContentsAreRemoved) {
  writeRelease(workingFolderFor() + "/Orvel OS.app");
  bool wasEmpty = false;
  unpackArchive = [&](const std::string &, const std::string &folder) {
    wasEmpty = std::filesystem::is_empty(folder);
  };
  install();
  EXPECT_TRUE(wasEmpty);
  expectNotInstalled();
}

TEST_F(WorkingFolder, ContentsThatCannotBeRemovedEndInstallation) {
  // remove_all() has a descriptor open for each level, so it fails with the limit of 64 below.
  std::string deepFile = workingFolderFor();
  for (int level = 0; level < 200; ++level) deepFile += "/folder";
  writeFile(deepFile, "stale");
  {
    const posix_test::ResourceLimit limit(RLIMIT_NOFILE, 64);
    install();
  }
  EXPECT_EQ(contentsOf(deepFile), "stale");
  expectNotInstalled();
  install();
  EXPECT_EQ(installedVersion(), "new");
}

TEST_F(WorkingFolder, FolderOfVersionWithSlashIsOnlyForOwner) {
  unpackArchive = [](const std::string &, const std::string &folder) {
    EXPECT_EQ(posix_test::modeOf(folder), 0700U);
    EXPECT_EQ(posix_test::modeOf(std::filesystem::path(folder).parent_path()), 0700U);
    writeRelease(folder + "/Orvel OS.app");
  };
  const posix_test::ScopedUmask umask(0);
  install("1/3");
  EXPECT_EQ(installedVersion(), "new");
  EXPECT_EQ(fake.record.count("alert Orvel OS is bijgewerkt naar 1/3"), 1U);
}

TEST_F(WorkingFolder, UnusableVersionChangesNothing) {
  const std::string other = fake.locations.temporaryFolder + "/of another program";
  writeFile(other, "kept");
  // Path traversal, NUL, and a name that is longer than a file system allows.
  for (const std::string &versie :
       {std::string("/.."), std::string("/../.."), std::string("1.3/../x"),
        std::string("1.3/../../x"), std::string("a\0b", 3), std::string(300, 'x')}) {
    install(versie);
    EXPECT_EQ(fake.record.count("sh "), 0U) << versie;
  }
  EXPECT_EQ(contentsOf(other), "kept");
  expectNotInstalled();
}

TEST_F(WorkingFolder, FileInPlaceOfTemporaryFolderEndsInstallation) {
  writeFile(fake.locations.temporaryFolder, "a file");
  install();
  expectNotInstalled();
}

TEST_F(WorkingFolder, StaysAfterSuccessAndFailure) {
  install();
  EXPECT_EQ(installedVersion(), "new");
  EXPECT_TRUE(std::filesystem::is_directory(workingFolderFor()));

  writeRunningBundle();
  fake.locations.replaceSucceeds = false;
  // The version names the failure, and gives each failure a folder of its own.
  install("replacement fails");
  EXPECT_TRUE(std::filesystem::exists(workingFolderFor("replacement fails") + "/Orvel OS.app"));

  setArchiveContents("Orvel OS.app", infoPlist(""));
  install("missing identifier");
  EXPECT_TRUE(std::filesystem::exists(workingFolderFor("missing identifier") + "/Orvel OS.app"));

  unpackArchive = [](const std::string &, const std::string &) {};
  install("no bundle");
  EXPECT_TRUE(std::filesystem::is_directory(workingFolderFor("no bundle")));
  EXPECT_EQ(installedVersion(), "old");
}

TEST_F(WorkingFolder, FileInItsPlaceIsRemoved) {
  writeFile(workingFolderFor(), "a file");
  install();
  EXPECT_EQ(installedVersion(), "new");
}

TEST_F(WorkingFolder, FoldersOfOtherVersionsAreRemovedWhereSystemDoesNotCleanUp) {
  for (const Edition &edition : {macosEdition, linuxEdition}) {
    SCOPED_TRACE(edition.name);
    // macOS itself removes old files from its temporary folder.
    const bool removesOthers = edition.name == "linux";
    fake.edition.removesOtherWorkingFolders = edition.removesOtherWorkingFolders;
    writeRunningBundle();
    writeFile(workingFolderFor("1.1") + "/Orvel OS.app/Contents/large", "rejected");
    writeFile(workingFolderFor("a/b") + "/file", "nested");
    writeFile(fake.locations.temporaryFolder + "/other", "kept");
    install();
    EXPECT_EQ(installedVersion(), "new");
    EXPECT_EQ(std::filesystem::exists(workingFolderFor("1.1")), !removesOthers);
    EXPECT_EQ(std::filesystem::exists(workingFolderFor("a")), !removesOthers);
    EXPECT_EQ(contentsOf(fake.locations.temporaryFolder + "/other"), "kept");
  }
}

// A release of version "1/documents/3" is installed. An earlier, rejected archive has left a link
// to the user's folder "documents" in place of the working folder or of one of its parents.
TEST_F(WorkingFolder, SymbolicLinkInItsPathIsNotFollowed) {
  struct Row {
    std::string link;
    bool removesOthers;
    std::string installed;
  };
  for (const auto &[link, removesOthers, installed] :
       {Row{"1", true, "new"}, Row{"1/documents", true, "new"}, Row{"1/documents/3", true, "new"},
        Row{"1", false, "old"}, Row{"1/documents", false, "old"},
        // The link is in place of the working folder itself and is removed.
        Row{"1/documents/3", false, "new"}}) {
    SCOPED_TRACE("link at " + link + (removesOthers ? ", other folders removed" : ""));
    fake.edition.removesOtherWorkingFolders = removesOthers;
    writeRunningBundle();
    writeFile(root() + "/documents/3/letter", "kept");
    std::filesystem::remove_all(fake.locations.temporaryFolder);
    std::filesystem::create_directories(
        std::filesystem::path(workingFolderFor(link)).parent_path());
    std::filesystem::create_directory_symlink(root() + "/documents", workingFolderFor(link));
    install("1/documents/3");
    EXPECT_EQ(installedVersion(), installed);
    EXPECT_EQ(contentsOf(root() + "/documents/3/letter"), "kept");
    EXPECT_FALSE(std::filesystem::exists(root() + "/documents/3/Orvel OS.app"));
  }
}

}  // namespace
}  // namespace orvel
