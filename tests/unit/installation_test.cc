#include "update/installation.h"

#include "tests/unit/installation_test.h"

namespace orvel {
namespace {

using testing::AllOf;
using testing::EndsWith;

using Installation = InstallationTest;

TEST_F(Installation, UnpacksReplacesNotifiesAndRelaunches) {
  std::string archiveText;
  unpackArchive = [&](const std::string &archive, const std::string &folder) {
    archiveText = contentsOf(archive);
    writeRelease(folder + "/Orvel OS.app");
  };
  install();
  const std::string app = fake.bundle.folder;
  const std::string unpacked = workingFolderFor() + "/Orvel OS.app";
  EXPECT_THAT(
      fake.record.take(),
      ElementsAre("download " + archiveUrl + " timeout 60000 ms [X-ORVEL-App: app-key]",
                  AllOf(StartsWith("sh /usr/bin/ditto -x -k '"),
                        EndsWith("' '" + workingFolderFor() + "'")),
                  "sh /usr/bin/xattr -dr com.apple.quarantine '" + unpacked + "'",
                  "replace " + app + " by " + unpacked, "alert Orvel OS is bijgewerkt naar 1.3"));
  EXPECT_EQ(archiveText, "an archive");
  EXPECT_EQ(installedVersion(), "new");

  EXPECT_THAT(fake.panels.shown, ElementsAre(Alert{.messageText = "Orvel OS is bijgewerkt naar 1.3",
                                                   .informativeText = "De app start opnieuw.",
                                                   .buttons = {"Opnieuw starten"}}));

  answerAlert(0);
  EXPECT_THAT(fake.record.take(),
              ElementsAre("sh (sleep 1; /usr/bin/open -n '" + app + "') >/dev/null 2>&1 &",
                          "application terminate", "application terminated"));
}

/// A release unpacker that calls a function.
class FunctionUnpacker final : public ReleaseUnpacker {
 public:
  void unpack(const std::string &archive, const std::string &folder) const override {
    function(archive, folder);
  }

  std::function<void(const std::string &archive, const std::string &folder)> function;
};

TEST_F(Installation, PlatformUnpackerReplacesUnpackCommand) {
  FunctionUnpacker unpacker;
  unpacker.function = [&](const std::string &archive, const std::string &folder) {
    fake.record.add("unpack " + contentsOf(archive) + " into " + folder);
    unpackArchive(archive, folder);
  };
  fake.unpacker = &unpacker;
  fake.edition = linuxEdition;
  recreateDelegate();
  install();
  const std::string app = fake.bundle.folder;
  EXPECT_THAT(fake.record.take(),
              ElementsAre("download " + archiveUrl + " timeout 60000 ms [X-ORVEL-App: app-key]",
                          "unpack an archive into " + workingFolderFor(),
                          "replace " + app + " by " + workingFolderFor() + "/Orvel OS.app",
                          "alert Orvel OS is bijgewerkt naar 1.3"));
  EXPECT_EQ(installedVersion(), "new");
  answerAlert(0);
  // The command `relaunch` of linuxEdition, which base/edition.cc explains.
  EXPECT_THAT(fake.record.take(),
              ElementsAre("sh unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; "
                          "exec setsid '" +
                              app + "'/Contents/Linux/orvel-os) </dev/null >/dev/null 2>&1 &",
                          "application terminate", "application terminated"));
}

TEST_F(Installation, TwoNoticesStopServerAndRelaunchOnce) {
  delegate().startServer();
  install();
  install();
  ASSERT_EQ(fake.panels.shown.size(), 2U);
  // The user closes the first notice, which also starts the restart, and answers the second one
  // while the application waits for the exit of the server.
  fake.panels.answer({std::nullopt, ""});
  answerAlert(0);
  EXPECT_EQ(fake.record.count("sh (sleep 1; /usr/bin/open -n"), 1U);
  EXPECT_THAT(fake.record.callsStartingWith("application"),
              ElementsAre("application terminate", "application terminated"));
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_FALSE(lastServer().isRunning());
}

TEST_F(Installation, FailedDownloadChangesNothing) {
  // No response, a response without a body, and a body without an HTTP response.
  std::vector<FakeResponse> failures{{}, {.statusCode = 200}, {.body = "an archive"}};
  for (const int status : {201, 206, 304, 404, 500}) {
    failures.push_back({.statusCode = status, .body = "an archive"});
  }
  for (const FakeResponse &failure : failures) {
    fake.http.setResponses(archiveUrl, {failure});
    install();
  }
  EXPECT_EQ(fake.record.count("sh "), 0U);
  EXPECT_FALSE(std::filesystem::exists(workingFolderFor()));
  expectNotInstalled();
}

TEST_F(Installation, BundleWithOtherNameIsRejected) {
  setArchiveContents("Orvel OS 1.3.app");
  install();
  expectNotInstalled();
  EXPECT_TRUE(std::filesystem::exists(workingFolderFor() + "/Orvel OS 1.3.app"));
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
}

TEST_F(Installation, SymlinkedBundleIsRejected) {
  writeRelease(root() + "/other");
  unpackArchive = [this](const std::string &, const std::string &folder) {
    std::filesystem::create_directory_symlink(root() + "/other", folder + "/Orvel OS.app");
  };
  install();
  EXPECT_TRUE(std::filesystem::is_symlink(workingFolderFor() + "/Orvel OS.app"));
  EXPECT_EQ(fake.record.count("replace"), 0U);
  expectNotInstalled();
}

TEST_F(Installation, BundleWithUnreadableInfoPlistOrOtherIdentifierIsRejected) {
  struct Row {
    // The identifier of the running application.
    std::optional<std::string> runningIdentifier;
    // The Info.plist of the release. Empty when the release has none.
    std::string info;
  };
  const std::string key = "<key>CFBundleIdentifier</key>";
  const std::vector<Row> rows{
      {"nl.orvel.os", ""},
      {"nl.orvel.os", "not a property list"},
      {"nl.orvel.os", "<plist><array/></plist>"},
      {"nl.orvel.os", infoPlist(key + "<string>nl.other.os</string>")},
      {"nl.orvel.os", infoPlist(key + "<string>nl.Orvel.os</string>")},
      {"nl.orvel.os", infoPlist(key + "<integer>1</integer>")},
      {"nl.orvel.os", infoPlist("")},
      {std::nullopt, infoPlist()},
      {std::nullopt, ""},
      {std::nullopt, "not a property list"},
  };
  for (const auto &[runningIdentifier, info] : rows) {
    SCOPED_TRACE(runningIdentifier.value_or("without an identifier") + ": " + info);
    fake.bundle.texts.erase("CFBundleIdentifier");
    if (runningIdentifier) fake.bundle.texts["CFBundleIdentifier"] = *runningIdentifier;
    setArchiveContents("Orvel OS.app", info);
    install();
    expectNotInstalled();
    EXPECT_TRUE(std::filesystem::exists(workingFolderFor() + "/Orvel OS.app"));
  }
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
  EXPECT_EQ(fake.record.count("replace"), 0U);
}

TEST_F(Installation, ApplicationWithoutIdentifierInstallsReleaseWithoutIdentifier) {
  fake.bundle.texts.erase("CFBundleIdentifier");
  setArchiveContents("Orvel OS.app", infoPlist("<key>CFBundleName</key><string>x</string>"));
  install();
  EXPECT_EQ(installedVersion(), "new");
}

TEST_F(Installation, SignedProgramInstallsOnlyReleaseOfSameTeam) {
  struct Row {
    // Absent without a signature and with an ad hoc one.
    std::optional<std::string> teamOfProgram;
    // Absent also for a release that was modified after it was signed.
    std::optional<std::string> teamOfRelease;
    bool isInstalled;
  };
  const std::vector<Row> rows{
      {"TEAM123456", std::nullopt, false},
      {"TEAM123456", "OTHER98765", false},
      {"TEAM123456", "TEAM123456", true},
      {std::nullopt, "OTHER98765", true},
  };
  for (const auto &[teamOfProgram, teamOfRelease, isInstalled] : rows) {
    SCOPED_TRACE(teamOfProgram.value_or("no team") + ", " + teamOfRelease.value_or("no team"));
    writeRunningBundle();
    fake.record.take();
    fake.bundle.team = teamOfProgram;
    fake.bundle.signers.clear();
    if (teamOfRelease) {
      fake.bundle.signers[workingFolderFor() + "/Orvel OS.app"] = *teamOfRelease;
    }
    install();
    EXPECT_EQ(installedVersion(), isInstalled ? "new" : "old");
    EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), isInstalled ? 1U : 0U);
    EXPECT_EQ(fake.record.count("replace"), isInstalled ? 1U : 0U);
    EXPECT_EQ(fake.record.count("alert"), isInstalled ? 1U : 0U);
  }
}

TEST_F(Installation, FailedReplacementShowsNoNotice) {
  fake.locations.replaceSucceeds = false;
  install();
  expectNotInstalled();
  EXPECT_EQ(fake.record.count("replace"), 1U);
}

TEST_F(Installation, BundleThatCannotBeReplacedDownloadsNothing) {
  fake.locations.bundleIsWritable = false;
  install();
  fake.locations.bundleIsWritable = true;
  std::filesystem::remove_all(fake.bundle.folder);
  install();
  // The path of a read-only copy from which macOS runs a downloaded bundle (App Translocation).
  fake.bundle.folder = root() + "/AppTranslocation/0A1B2C3D/d/Orvel OS.app";
  writeRunningBundle();
  install();
  EXPECT_THAT(fake.record.take(), IsEmpty());
  expectNotInstalled();
}

TEST_F(Installation, UnreadableInfoPlistOfRunningApplicationDownloadsNothing) {
  // This entry requires signed releases, but the application cannot read it.
  fake.bundle.texts[std::string(updateKeyEntry)] = "a public key";
  fake.bundle.hasReadableInfo = false;
  // Without Info.plist the running application has no identifier either, so the comparison of the
  // two identifiers would accept this release.
  setArchiveContents("Orvel OS.app", infoPlist(""));
  install();
  EXPECT_THAT(fake.http.sent, IsEmpty());
  expectNotInstalled();
}

TEST_F(Installation, TranslocationIsRecognizedByPath) {
  const std::string translocated =
      "/private/var/folders/x1/T/AppTranslocation/0A1B2C3D/d/Orvel OS.app";
  EXPECT_TRUE(isTranslocated(translocated, macosEdition));
  EXPECT_FALSE(isTranslocated(translocated, linuxEdition));
  EXPECT_EQ(linuxEdition.translocationFolder, "");
  for (const std::string path :
       {"/Applications/Orvel OS.app", "/Users/me/AppTranslocation", "", "AppTranslocation/x.app"}) {
    EXPECT_FALSE(isTranslocated(path, macosEdition)) << path;
  }
}

TEST_F(Installation, ArchiveIsNotDownloadedFromLocalPortOfAnotherUser) {
  occupyLocalPort();
  delegate().installeer(*Url::parse("http://127.0.0.1:4767/orvel-os-1.3.zip"), "1.3",
                        /*signature=*/{});
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.http.sent, IsEmpty());
  expectNotInstalled();
}

TEST_F(Installation, BundleWithSingleQuoteInPathIsReplacedButNotRelaunched) {
  fake.bundle.folder = root() + "/Someone's/Orvel OS.app";
  writeRunningBundle();
  install();
  EXPECT_EQ(installedVersion(), "new");
  fake.record.take();
  answerAlert(0);
  EXPECT_THAT(fake.record.take(), ElementsAre("application terminate", "application terminated"));
}

// An unpacker of the platform runs no shell. It is not called either for a path that cannot be
// quoted, so that the same paths end an installation in both editions.
TEST_F(Installation, SingleQuoteInPathPreventsUnpacking) {
  std::filesystem::create_directory(root() + "/someone's");
  const std::string versionWithQuotes = "1'; touch x; '3";
  FunctionUnpacker functionUnpacker;
  functionUnpacker.function = unpackArchive;
  const std::vector<const ReleaseUnpacker *> unpackers{nullptr, &functionUnpacker};
  for (const ReleaseUnpacker *unpacker : unpackers) {
    SCOPED_TRACE(unpacker == nullptr ? "unpack command" : "unpacker of the platform");
    fake.unpacker = unpacker;
    recreateDelegate();
    fake.http.downloadFolder = root();
    install(versionWithQuotes);
    EXPECT_TRUE(std::filesystem::is_empty(workingFolderFor(versionWithQuotes)));
    fake.http.downloadFolder = root() + "/someone's";
    install();
    EXPECT_TRUE(std::filesystem::is_empty(workingFolderFor()));
    EXPECT_EQ(fake.record.count("sh "), 0U);
    expectNotInstalled();
  }
}

TEST_F(Installation, ConcurrentInstallationsAreIndependent) {
  fake.http.setResponses(archiveUrl, {{.statusCode = 200, .body = "an archive", .delay = 2s},
                                      {.statusCode = 200, .body = "an archive", .delay = 1s}});
  install("1.3");
  install("1.3");
  EXPECT_THAT(fake.panels.shown, IsEmpty());
  fake.scheduler.advance(1s);
  EXPECT_EQ(installedVersion(), "new");
  EXPECT_EQ(fake.panels.shown.size(), 1U);
  writeRunningBundle();
  fake.scheduler.advance(1s);
  EXPECT_EQ(installedVersion(), "new");
  EXPECT_EQ(fake.panels.shown.size(), 2U);
}

TEST_F(Installation, InstallationAndOpenNoticeRetainDelegate) {
  fake.http.setResponses(archiveUrl, {{.statusCode = 200, .body = "an archive", .delay = 1s}});
  install();
  const auto weakDelegate = releaseDelegate();
  EXPECT_FALSE(weakDelegate.expired()) << "during the download";
  // Blocks the main thread while a background task installs the release and posts the notice.
  fake.clock.sleep(1s);
  EXPECT_EQ(fake.record.count("replace"), 1U);
  EXPECT_FALSE(weakDelegate.expired()) << "before the notice";
  fake.scheduler.runUntilIdle();
  EXPECT_EQ(fake.panels.shown.size(), 1U);
  EXPECT_FALSE(weakDelegate.expired()) << "while the notice is open";
}

}  // namespace
}  // namespace orvel
