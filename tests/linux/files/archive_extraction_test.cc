#include "platform/linux/files/archive_extraction.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>

#include "tests/linux/files/zip_archive.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

// A text of 19 kB that deflate compresses to more than 1 kB.
const std::string longText = [] {
  std::string text;
  for (int number = 0; number < 2000; ++number) text += "line " + std::to_string(number) + "\n";
  return text;
}();

// The signature of an entry of the central directory (APPNOTE.TXT, 4.3.12).
constexpr const char *directoryEntrySignature = "PK\1\2";

class ArchiveExtraction : public testing::Test {
 protected:
  ArchiveExtraction() {
    fs::create_directories(target_);
    folder_.file("outside", "untouched");
  }

  void writeArchive(const std::string &bytes) const { folder_.file("archive.zip", bytes); }
  void zip(const std::vector<ZipEntry> &entries, const std::string &options = "") const {
    writeZip(archive_, entries, options);
  }
  bool extract() const { return extractArchive(archive_, target_); }
  bool extract(const std::vector<ZipEntry> &entries) const {
    zip(entries);
    return extract();
  }
  void clearTarget() const {
    fs::remove_all(target_);
    fs::create_directory(target_);
  }
  /// Writes an archive and extracts it into the emptied target. Expects that it is rejected and
  /// that nothing is written outside the target.
  void expectRejected(const std::vector<ZipEntry> &entries) {
    clearTarget();
    EXPECT_FALSE(extract(entries)) << entries.back().name << " " << entries.back().contents;
    expectNothingOutside();
  }
  void expectNothingOutside() const {
    EXPECT_EQ(contentsOf(folder_.path() / "outside"), "untouched");
    // This file, the archive and the target.
    EXPECT_EQ(entryCount(folder_.path()), 3);
  }

  const TemporaryFolder folder_;
  const fs::path target_ = folder_.path() / "target";
  const fs::path archive_ = folder_.path() / "archive.zip";
};

TEST_F(ArchiveExtraction, FilesFoldersAndLinksAreExtracted) {
  const std::string compressible(200, 'x');
  const std::vector<ZipEntry> entries{
      zipFolder("a/", 0750),
      zipFile("a/program", compressible, 0755),
      zipFile("a/empty", "", 0400),
      zipLink("a/link", "program"),
      zipLink("a/dangling", "b/c"),
      zipFile("..dots...", "dots"),
      zipFile("./plain", "plain"),
      zipFolder("a/empty folder/"),
      zipFile("q'u\"o`t$e\nline", "quotes"),
      zipFile("folder/without entry", "x"),
      zipFile("__MACOSX/._a", "resources"),
  };
  const Tree expected{{"", "folder 755"},
                      {"a", "folder 750"},
                      {"a/program", "file 755 " + compressible},
                      {"a/empty", "file 400 "},
                      {"a/link", "link to program"},
                      {"a/dangling", "link to b/c"},
                      {"..dots...", "file 644 dots"},
                      {"plain", "file 644 plain"},
                      {"a/empty folder", "folder 755"},
                      {"q'u\"o`t$e\nline", "file 644 quotes"},
                      {"folder", "folder 755"},
                      {"folder/without entry", "file 644 x"},
                      {"__MACOSX", "folder 755"},
                      {"__MACOSX/._a", "file 644 resources"}};
  for (const std::string options : {"", "zip:compression=store", "zip:zip64"}) {
    clearTarget();
    zip(entries, options);
    ASSERT_TRUE(extract()) << options;
    EXPECT_EQ(treeOf(target_), expected) << options;
  }
}

TEST_F(ArchiveExtraction, PermissionsAndTimeAreKeptWithoutSetuidAndOwner) {
  const mode_t mask = ::umask(077);
  const bool extracted = extract({zipFolder("a/", 01777), zipFile("a/file", "x", 06777),
                                  zipFolder("locked/", 0555), zipFile("locked/file", "x", 0444)});
  // Restores the umask, which the extraction must not change.
  EXPECT_EQ(::umask(mask), mode_t{077});
  ASSERT_TRUE(extracted);
  Tree tree = treeOf(target_);
  EXPECT_EQ(tree["a"], "folder 777");
  EXPECT_EQ(tree["a/file"], "file 777 x");
  EXPECT_EQ(tree["locked"], "folder 755") << "the owner could not remove its files";
  EXPECT_EQ(tree["locked/file"], "file 444 x");
  struct stat status{};
  ASSERT_EQ(::stat((target_ / "a/file").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, ::geteuid());
  EXPECT_EQ(status.st_mtime, zipModificationTime);
}

TEST_F(ArchiveExtraction, Utf8NamesAreKeptInCLocale) {
  const std::string utf8 = "caf\xC3\xA9 \xE2\x82\xAC";
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(extract({zipFile(utf8, "x"), zipLink("link", utf8)}));
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(contentsOf(target_ / utf8), "x");
  EXPECT_EQ(fs::read_symlink(target_ / "link"), utf8);
}

TEST_F(ArchiveExtraction, ArchiveOfInfoZipIsExtracted) {
  makeTree(folder_.path() / "source", "zip");
  PosixProcessLauncher launcher(processEnvironment());
  // -y stores links as links. Those to absolute paths or ".." are left out, as they are rejected.
  const Outcome made = runShell(launcher, "cd '" + folder_.path().string() +
                                              "' && zip -qry archive.zip source -x '*dangling*' "
                                              "'*Linux/information'");
  ASSERT_EQ(made.status, 0) << made.output;
  fs::remove(folder_.path() / "source/Contents/dangling");
  fs::remove(folder_.path() / "source/Contents/Linux/information");
  EXPECT_TRUE(extract());
  EXPECT_EQ(treeOf(target_ / "source"), treeOf(folder_.path() / "source"));
}

TEST_F(ArchiveExtraction, AbsoluteNameOrNameWithParentFolderIsRejected) {
  const std::string outside = folder_.path() / "outside";
  for (const std::string name : {"../outside", "a/../../outside", "a/..", "..", "a/../b",
                                 "/outside", "//outside", outside.c_str()}) {
    expectRejected({zipFile("first", "x"), zipFile(name, "changed")});
  }
}

TEST_F(ArchiveExtraction, FileOrLinkInPlaceOfTargetIsRejected) {
  for (const std::string name : {".", "./."}) {
    for (const ZipEntry &entry : {zipFile(name, "x"), zipLink(name, "elsewhere")}) {
      expectRejected({entry});
      EXPECT_TRUE(fs::is_directory(fs::symlink_status(target_))) << name;
    }
  }
}

TEST_F(ArchiveExtraction, LinkToAbsolutePathOrParentFolderIsRejected) {
  for (const std::string target :
       {"/", "/etc/passwd", "..", "../outside", "a/../../outside", "a/.."}) {
    expectRejected({zipLink("link", target)});
    expectRejected({zipFolder("a/"), zipLink("a/link", target)});
  }
}

TEST_F(ArchiveExtraction, EntryWhosePathContainsLinkIsRejected) {
  expectRejected({zipFolder("real/"), zipLink("link", "real"), zipFile("link/file", "x")});
  EXPECT_TRUE(fs::is_empty(target_ / "real"));
}

TEST_F(ArchiveExtraction, FileWithNameOfEarlierLinkReplacesLink) {
  EXPECT_TRUE(extract({zipFile("file", "first"), zipLink("link", "file"), zipFile("link", "x")}));
  EXPECT_EQ(contentsOf(target_ / "file"), "first");
  EXPECT_EQ(contentsOf(target_ / "link"), "x");
}

TEST_F(ArchiveExtraction, SpecialFileIsRejected) {
  zip({zipFile("special", "")});
  std::string bytes = contentsOf(archive_);
  // The high byte of the mode in the external attributes (APPNOTE.TXT, 4.4.15): the file type, and
  // the owner's read permission as its lowest bit.
  char &typeByte = bytes.at(bytes.rfind(directoryEntrySignature) + 41);
  ASSERT_EQ(static_cast<unsigned char>(typeByte), (S_IFREG | 0400) >> 8);
  // Without S_IFIFO: libarchive extracts a pipe as a regular file.
  for (const int type : {S_IFCHR, S_IFBLK, S_IFSOCK}) {
    typeByte = static_cast<char>((type | 0400) >> 8);
    writeArchive(bytes);
    EXPECT_FALSE(extract()) << "file type " << std::oct << type;
    EXPECT_FALSE(fs::exists(fs::symlink_status(target_ / "special")))
        << "file type " << std::oct << type;
  }
}

TEST_F(ArchiveExtraction, EncryptedArchiveIsRejected) {
  zip({zipFile("file", longText)}, "zip:encryption=traditional");
  EXPECT_FALSE(extract());
  expectNothingOutside();
}

TEST_F(ArchiveExtraction, TruncatedArchiveIsRejected) {
  zip({zipFolder("a/"), zipFile("a/file", longText), zipLink("a/link", "file")});
  const std::string whole = contentsOf(archive_);
  // Only every seventh size, because all sizes would take seconds.
  for (std::size_t size = 0; size < whole.size(); size += 7) {
    writeArchive(whole.substr(0, size));
    ASSERT_FALSE(extract()) << size << " of " << whole.size();
  }
}

TEST_F(ArchiveExtraction, CorruptFileOrChecksumIsRejected) {
  for (const std::string options : {"", "zip:compression=store"}) {
    zip({zipFile("file", longText)}, options);
    const std::string whole = contentsOf(archive_);
    const auto directory = whole.rfind(directoryEntrySignature);
    // The checksum of the file (APPNOTE.TXT, 4.3.12), and about 50 bytes of its data.
    std::vector<std::size_t> positions{directory + 16};
    for (std::size_t at = 100; at + 100 < directory; at += directory / 50) positions.push_back(at);
    for (const std::size_t at : positions) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(bytes[at] ^ 0x20);
      writeArchive(bytes);
      ASSERT_FALSE(extract()) << options << " byte " << at;
    }
  }
}

TEST_F(ArchiveExtraction, FileOtherThanZipArchiveOrMissingTargetIsRejected) {
  for (const std::string &text : {std::string(), std::string("<!doctype html><p>Sorry"),
                                  std::string(100'000, '\0'), "PK\3\4" + longText}) {
    writeArchive(text);
    EXPECT_FALSE(extract()) << text.substr(0, 10);
  }
  EXPECT_FALSE(extractArchive(folder_.path() / "missing", target_));
  EXPECT_FALSE(extractArchive(folder_.path(), target_));
  zip({zipFile("file", "x")});
  EXPECT_FALSE(extractArchive(archive_, folder_.path() / "missing"));
  EXPECT_TRUE(fs::is_empty(target_));
}

TEST_F(ArchiveExtraction, FullDiskFailsExtraction) {
  zip({zipFile("file", longText)});
  {
    // Writes to a file fail beyond 10,000 bytes. The text has 19 kB.
    const FullDisk fullDisk(10'000);
    EXPECT_FALSE(extract());
  }
  EXPECT_TRUE(extract());
  EXPECT_EQ(contentsOf(target_ / "file"), longText);
}

TEST_F(ArchiveExtraction, TargetMayBeSymbolicLink) {
  fs::create_directory_symlink(target_, folder_.path() / "link");
  zip({zipFolder("a/"), zipFile("a/file", "x")});
  EXPECT_TRUE(extractArchive(archive_, folder_.path() / "link"));
  EXPECT_EQ(contentsOf(target_ / "a/file"), "x");
}

TEST_F(ArchiveExtraction, ArchiveThatExceedsLimitIsRejected) {
  zip({zipFile("a", std::string(1000, 'x')), zipFile("b", std::string(1000, 'y'))});
  EXPECT_TRUE(extractArchive(archive_, target_, {.size = 2000, .entries = 2}));
  for (const ArchiveLimits limits : {ArchiveLimits{.size = 1999}, ArchiveLimits{.entries = 1}}) {
    clearTarget();
    EXPECT_FALSE(extractArchive(archive_, target_, limits))
        << limits.size << " bytes, " << limits.entries << " entries";
    EXPECT_EQ(contentsOf(target_ / "b").find('y'), std::string::npos);
  }
}

}  // namespace
}  // namespace orvel
