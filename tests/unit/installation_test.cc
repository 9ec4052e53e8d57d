#include "update/installation.h"

#include "base/folder_lock.h"
#include "tests/unit/core_test.h"
#include "update/command_line.h"
#include "update/signed_release.h"

namespace orvel {
namespace {

const std::string archiveAddress = "https://os.test/download/orvel-os-1.3.zip";

std::string infoPlist(const std::string &entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
         "</dict></plist>\n";
}
const std::string ourIdentifier = "<key>CFBundleIdentifier</key><string>nl.orvel.os</string>";

class Installation : public CoreTest {
 protected:
  Installation() {
    goOnline();
    fake.bundle.folder = root() + "/My Applications/Orvel OS.app";
    fake.bundle.texts["CFBundleIdentifier"] = "nl.orvel.os";
    fake.locations.temporaryFolder = root() + "/temporary";
    writeFile(fake.bundle.folder + "/Contents/version", "old");
    fake.http.respond(archiveAddress, {{.statusCode = 200, .body = "an archive"}});
    createWebView();
  }

  std::string working(const std::string &versie = "1.3") const {
    return fake.locations.temporaryFolder + "/orvel-os-update-" + versie;
  }
  /// Sets the bundle that the archive contains, by its Info.plist. No bundle for nullopt.
  void setContents(const std::optional<std::string> &info, const std::string &versie = "1.3",
                   const std::string &name = "Orvel OS.app") {
    content_ = info;
    name_ = name;
    versie_ = versie;
  }
  void install(const std::string &versie = "1.3") {
    // The temporary path of the archive is known only from the command.
    fake.processes.onLaunch = [this](const LaunchRequest &request) {
      const std::string &command = request.arguments.back();
      if (!command.starts_with("/usr/bin/ditto")) return;
      unpackCommand = command;
      archiveText = readFile(command.substr(22, command.find('\'', 22) - 22));
      workingFolderWasEmpty = std::filesystem::is_empty(working(versie_));
      if (!linkTarget.empty()) {
        std::filesystem::create_directory_symlink(linkTarget, working() + "/Orvel OS.app");
      }
      if (!content_) return;
      const std::string bundle = working(versie_) + "/" + name_;
      writeFile(bundle + "/Contents/version", "new");
      if (!content_->empty()) writeFile(bundle + "/Contents/Info.plist", *content_);
    };
    delegate().installeer(*Url::parse(archiveAddress), versie, {});
    fake.scheduler.runUntilIdle();
  }
  std::string installed() const { return readFile(fake.bundle.folder + "/Contents/version"); }
  void expectNotInstalled() {
    EXPECT_EQ(installed(), "old");
    EXPECT_THAT(fake.panels.shown, IsEmpty());
    EXPECT_EQ(fake.record.count("application terminate"), 0U);
    EXPECT_FALSE(fake.application.terminated);
  }

  /// When not empty, the archive contains a symbolic link to this folder.
  std::string linkTarget;
  std::string unpackCommand;
  std::string archiveText;
  bool workingFolderWasEmpty = false;

 private:
  std::optional<std::string> content_;
  std::string name_;
  std::string versie_ = "1.3";
};

TEST_F(Installation, WorkingFolderNameEndsWithVersion) {
  EXPECT_EQ(workingFolder("/tmp", "1.3"), "/tmp/orvel-os-update-1.3");
  EXPECT_EQ(workingFolder("/tmp", ""), "/tmp/orvel-os-update-");
  EXPECT_EQ(workingFolder("/tmp", "a/b"), "/tmp/orvel-os-update-a/b");
  EXPECT_EQ(workingFolder("/tmp", ".."), "/tmp/orvel-os-update-..");
  EXPECT_EQ(workingFolder("/tmp", "$(rm -rf ~) `x`\n"), "/tmp/orvel-os-update-$(rm -rf ~) `x`\n");
}

TEST_F(Installation, VersionThatLeavesTemporaryFolderHasNoWorkingFolder) {
  EXPECT_EQ(workingFolder("/tmp", "/.."), std::nullopt);
  EXPECT_EQ(workingFolder("/tmp", "/../../home"), std::nullopt);
  EXPECT_EQ(workingFolder("/tmp", "1.3/../x"), std::nullopt);
  EXPECT_EQ(workingFolder("/tmp", std::string("1\0"
                                              "3",
                                              3)),
            std::nullopt);
}

TEST_F(Installation, UnpacksReplacesNotifiesAndRelaunches) {
  setContents(infoPlist(ourIdentifier));
  install();
  const std::string app = fake.bundle.folder;
  const std::string unpacked = working() + "/Orvel OS.app";
  EXPECT_THAT(
      fake.record.take(),
      ElementsAre("download " + archiveAddress + " timeout 60000 ms [X-ORVEL-App: app-key]",
                  "sh " + unpackCommand,
                  "sh /usr/bin/xattr -dr com.apple.quarantine '" + unpacked + "'",
                  "replace " + app + " by " + unpacked, "alert Orvel OS is bijgewerkt naar 1.3"));
  EXPECT_TRUE(unpackCommand.ends_with("' '" + working() + "'")) << unpackCommand;
  EXPECT_EQ(archiveText, "an archive");
  EXPECT_EQ(installed(), "new");

  Alert notice;
  notice.messageText = "Orvel OS is bijgewerkt naar 1.3";
  notice.informativeText = "De app start opnieuw.";
  notice.buttons = {"Opnieuw starten"};
  EXPECT_THAT(fake.panels.shown, ElementsAre(notice));

  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(),
              ElementsAre("sh (sleep 1; /usr/bin/open -n '" + app + "') >/dev/null 2>&1 &",
                          "application terminate", "application terminated"));
}

/// Records its calls and creates a bundle with the application's identifier.
class RecordingUnpacker final : public ReleaseUnpacker {
 public:
  explicit RecordingUnpacker(Record &record) : record_(record) {}

  void unpack(const std::string &archive, const std::string &folder) const override {
    record_.add("unpack " + std::string(std::filesystem::exists(archive) ? "a file" : "nothing") +
                " into " + folder);
    const std::filesystem::path contents = folder + "/Orvel OS.app/Contents";
    std::filesystem::create_directories(contents);
    std::ofstream(contents / "Info.plist") << infoPlist(ourIdentifier);
    std::ofstream(contents / "version") << "new";
  }

 private:
  Record &record_;
};

TEST_F(Installation, PlatformUnpackerReplacesUnpackCommand) {
  const RecordingUnpacker unpacker(fake.record);
  fake.unpacker = &unpacker;
  fake.names = linuxNames;
  releaseDelegate();
  createWebView();
  install();
  const std::string app = fake.bundle.folder;
  EXPECT_THAT(fake.record.take(),
              ElementsAre("download " + archiveAddress + " timeout 60000 ms [X-ORVEL-App: app-key]",
                          "unpack a file into " + working(),
                          "replace " + app + " by " + working() + "/Orvel OS.app",
                          "alert Orvel OS is bijgewerkt naar 1.3"));
  EXPECT_EQ(installed(), "new");
  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), ElementsAre("sh " + *commandLine(linuxNames.relaunch, {app}),
                                              "application terminate", "application terminated"));
}

TEST_F(Installation, VersionWithSingleQuoteDoesNotReachPlatformUnpacker) {
  const RecordingUnpacker unpacker(fake.record);
  fake.unpacker = &unpacker;
  releaseDelegate();
  createWebView();
  install("1'3");
  EXPECT_EQ(fake.record.count("unpack"), 0U);
  expectNotInstalled();
}

TEST_F(Installation, ClosedNoticeRelaunches) {
  setContents(infoPlist(ourIdentifier));
  install();
  fake.panels.answer({std::nullopt, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Installation, TwoAnsweredNoticesRelaunchOnce) {
  for (int time = 0; time < 2; ++time) {
    setContents(infoPlist(ourIdentifier));
    install();
  }
  ASSERT_EQ(fake.panels.shown.size(), 2U);
  fake.panels.answer({0, ""});
  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.record.count("sh (sleep 1; /usr/bin/open -n '" + fake.bundle.folder +
                              "') >/dev/null 2>&1 &"),
            1U);
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Installation, LockedTemporaryFolderEndsInstallation) {
  setContents(infoPlist(ourIdentifier));
  std::filesystem::create_directories(working());
  writeFile(working() + "/of another instance", "partial");
  {
    const FolderLock other(fake.locations.temporaryFolder);
    ASSERT_FALSE(other.isHeldElsewhere());
    install();
  }
  EXPECT_EQ(installed(), "old");
  EXPECT_TRUE(std::filesystem::exists(working() + "/of another instance"));
  EXPECT_THAT(fake.panels.shown, IsEmpty());
  setContents(infoPlist(ourIdentifier));
  install();
  EXPECT_EQ(installed(), "new");
}

TEST_F(Installation, RelaunchStopsServer) {
  delegate().startServer();
  setContents(infoPlist(ourIdentifier));
  install();
  fake.panels.answer({0, ""});
  fake.scheduler.advance(1s);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_FALSE(lastServer().isRunning());
}

TEST_F(Installation, FailedDownloadChangesNothing) {
  setContents(infoPlist(ourIdentifier));
  for (const int status : {201, 304, 404, 500}) {
    fake.http.respond(archiveAddress, {{.statusCode = status, .body = "error"}});
    install();
  }
  // No response, a head without a body, and a body without an HTTP response.
  for (const FakeResponse &response :
       {FakeResponse{}, FakeResponse{.statusCode = 200}, FakeResponse{.body = "an archive"}}) {
    fake.http.respond(archiveAddress, {response});
    install();
  }
  EXPECT_EQ(unpackCommand, "");
  EXPECT_FALSE(std::filesystem::exists(working()));
  expectNotInstalled();
}

TEST_F(Installation, StaleWorkingFolderIsCleared) {
  writeFile(working() + "/Orvel OS.app/Contents/Info.plist", infoPlist(ourIdentifier));
  setContents(std::nullopt);
  install();
  EXPECT_TRUE(workingFolderWasEmpty);
  expectNotInstalled();
}

TEST_F(Installation, BundleWithOtherNameIsRejected) {
  setContents(infoPlist(ourIdentifier), "1.3", "Orvel OS 1.3.app");
  install();
  expectNotInstalled();
  EXPECT_TRUE(std::filesystem::exists(working() + "/Orvel OS 1.3.app"));
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
}

TEST_F(Installation, SymlinkedBundleIsRejected) {
  writeFile(root() + "/other/Contents/Info.plist", infoPlist(ourIdentifier));
  linkTarget = root() + "/other";
  install();
  EXPECT_TRUE(std::filesystem::is_symlink(working() + "/Orvel OS.app"));
  EXPECT_EQ(fake.record.count("replace"), 0U);
  expectNotInstalled();
}

TEST_F(Installation, UnreadableInfoPlistIsRejected) {
  for (const std::string info : {"", "no list", "<plist><array/></plist>"}) {
    setContents(info);
    install();
    expectNotInstalled();
    EXPECT_TRUE(std::filesystem::exists(working() + "/Orvel OS.app"));
  }
}

TEST_F(Installation, OtherBundleIdentifierIsRejected) {
  for (const std::string identifier : {"<key>CFBundleIdentifier</key><string>nl.other.os</string>",
                                       "<key>CFBundleIdentifier</key><string>nl.Orvel.os</string>",
                                       "<key>CFBundleIdentifier</key><integer>1</integer>", ""}) {
    setContents(infoPlist(identifier));
    install();
    expectNotInstalled();
  }
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
  EXPECT_EQ(fake.record.count("replace"), 0U);
}

TEST_F(Installation, MissingBundleIdentifierMatchesMissingBundleIdentifier) {
  fake.bundle.texts.erase("CFBundleIdentifier");
  setContents(infoPlist(ourIdentifier));
  install();
  expectNotInstalled();
  setContents(infoPlist("<key>CFBundleIdentifier</key><integer>1</integer>"));
  install();
  EXPECT_EQ(installed(), "new");
}

TEST_F(Installation, ProgramSignedByTeamInstallsOnlyReleaseOfSameTeam) {
  fake.bundle.team = "TEAM123456";
  const std::string unpacked = working() + "/Orvel OS.app";
  setContents(infoPlist(ourIdentifier));
  // No signer stands for an unsigned, ad hoc signed or modified release.
  install();
  expectNotInstalled();
  fake.bundle.signers[unpacked] = "OTHER98765";
  install();
  expectNotInstalled();
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
  EXPECT_EQ(fake.record.count("replace"), 0U);
  fake.bundle.signers[unpacked] = "TEAM123456";
  install();
  EXPECT_EQ(installed(), "new");
}

TEST_F(Installation, ProgramWithoutTeamInstallsReleaseOfAnyTeam) {
  fake.bundle.signers[working() + "/Orvel OS.app"] = "OTHER98765";
  setContents(infoPlist(ourIdentifier));
  install();
  EXPECT_EQ(installed(), "new");
}

TEST_F(Installation, FailedReplacementShowsNoNotice) {
  fake.locations.replaceSucceeds = false;
  setContents(infoPlist(ourIdentifier));
  install();
  expectNotInstalled();
  EXPECT_EQ(fake.record.count("replace"), 1U);
}

TEST_F(Installation, IrreplaceableBundleDownloadsNothing) {
  fake.locations.isWritable = false;
  setContents(infoPlist(ourIdentifier));
  install();
  EXPECT_THAT(fake.http.sent, IsEmpty());
  EXPECT_THAT(fake.record.take(), IsEmpty());
  expectNotInstalled();

  fake.locations.isWritable = true;
  std::filesystem::remove_all(fake.bundle.folder);
  install();
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(Installation, TranslocationIsRecognizedByPath) {
  const std::string translocated =
      "/private/var/folders/x1/T/AppTranslocation/0A1B2C3D/d/Orvel OS.app";
  EXPECT_TRUE(isTranslocated(translocated, macosNames));
  EXPECT_FALSE(isTranslocated(translocated, linuxNames));
  for (const std::string path :
       {"/Applications/Orvel OS.app", "/Users/me/AppTranslocation", "", "AppTranslocation/x.app"}) {
    EXPECT_FALSE(isTranslocated(path, macosNames)) << path;
  }
}

TEST_F(Installation, TranslocatedBundleDownloadsNothing) {
  fake.bundle.folder = root() + "/AppTranslocation/0A1B2C3D/d/Orvel OS.app";
  writeFile(fake.bundle.folder + "/Contents/version", "old");
  setContents(infoPlist(ourIdentifier));
  install();
  EXPECT_THAT(fake.http.sent, IsEmpty());
  EXPECT_THAT(fake.record.take(), IsEmpty());
  expectNotInstalled();
}

TEST_F(Installation, VersionWithSlashUnpacksIntoNestedFolder) {
  setContents(infoPlist(ourIdentifier), "1/3");
  install("1/3");
  EXPECT_EQ(installed(), "new");
  EXPECT_EQ(fake.record.count("alert Orvel OS is bijgewerkt naar 1/3"), 1U);
}

TEST_F(Installation, VersionWithSingleQuoteRunsNoCommand) {
  setContents(infoPlist(ourIdentifier), "1'3");
  install("1'; touch x; '3");
  EXPECT_EQ(fake.record.count("sh "), 0U);
  expectNotInstalled();
}

TEST_F(Installation, VersionWithTraversalRemovesNothing) {
  writeFile(fake.locations.temporaryFolder + "/of another instance", "kept");
  for (const std::string versie : {"/..", "/../..", "1.3/../../x"}) install(versie);
  EXPECT_EQ(fake.record.count("sh "), 0U);
  EXPECT_EQ(readFile(fake.locations.temporaryFolder + "/of another instance"), "kept");
  expectNotInstalled();
}

TEST_F(Installation, BundlePathWithSingleQuoteIsReplacedButNotRelaunched) {
  fake.bundle.folder = root() + "/Someone's/Orvel OS.app";
  writeFile(fake.bundle.folder + "/Contents/version", "old");
  setContents(infoPlist(ourIdentifier));
  install();
  EXPECT_EQ(installed(), "new");
  fake.record.take();
  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), ElementsAre("application terminate", "application terminated"));
}

TEST_F(Installation, FileInPlaceOfTemporaryFolderChangesNothing) {
  writeFile(fake.locations.temporaryFolder, "a file");
  fake.processes.onLaunch = nullptr;
  delegate().installeer(*Url::parse(archiveAddress), "1.3", {});
  fake.scheduler.runUntilIdle();
  expectNotInstalled();
}

}  // namespace
}  // namespace orvel
