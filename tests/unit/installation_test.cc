#include "update/installation.h"

#include "base/folder_lock.h"
#include "tests/unit/core_test.h"
#include "update/command_line.h"

namespace orvel {
namespace {

TEST(WorkingFolder, isNamedForTheVersion) {
  EXPECT_EQ(workingFolder("/tmp", "1.3"), "/tmp/orvel-os-update-1.3");
  EXPECT_EQ(workingFolder("/tmp", ""), "/tmp/orvel-os-update-");
  EXPECT_EQ(workingFolder("/tmp", "a/b"), "/tmp/orvel-os-update-a/b");
  EXPECT_EQ(workingFolder("/tmp", ".."), "/tmp/orvel-os-update-..");
  EXPECT_EQ(workingFolder("/tmp", "$(rm -rf ~) `x`\n"), "/tmp/orvel-os-update-$(rm -rf ~) `x`\n");
}

TEST(WorkingFolder, neverLiesElsewhere) {
  EXPECT_EQ(workingFolder("/tmp", "/.."), std::nullopt);
  EXPECT_EQ(workingFolder("/tmp", "/../../home"), std::nullopt);
  EXPECT_EQ(workingFolder("/tmp", "1.3/../x"), std::nullopt);
  EXPECT_EQ(workingFolder("/tmp", std::string("1\0"
                                              "3",
                                              3)),
            std::nullopt);
}

TEST(CommandLine, QuotesPathsAsTheyAre) {
  EXPECT_EQ(singleQuoted("x  y"), "'x  y'");
  EXPECT_EQ(singleQuoted(""), "''");
  EXPECT_EQ(singleQuoted("$(x) `y` \\ \"z\" {a} {\n"), "'$(x) `y` \\ \"z\" {a} {\n'");
}

TEST(CommandLine, RefusesASingleQuoteInAnyPath) {
  for (const std::string path : {"'", "a'b", "'; rm -rf ~; '"}) {
    EXPECT_EQ(singleQuoted(path), std::nullopt);
    EXPECT_EQ(commandLine({"a ", ""}, {path}), std::nullopt);
    EXPECT_EQ(commandLine({"a ", ""}, {"b", path}), std::nullopt);
  }
}

TEST(CommandLine, PutsPathsBetweenItsParts) {
  EXPECT_EQ(commandLine({"a ", " z"}, {"x y", "{z"}), "a 'x y' '{z' z");
  EXPECT_EQ(commandLine({"a {x ", "} b"}, {"c"}), "a {x 'c'} b");
  EXPECT_EQ(commandLine({"a", "b"}, {}), "ab");
}

TEST(CommandLine, OfMacosIsSpelledToTheLetter) {
  EXPECT_EQ(commandLine(macosNames.unpack, {"/t/a.zip", "/t/w"}),
            "/usr/bin/ditto -x -k '/t/a.zip' '/t/w'");
  EXPECT_EQ(commandLine(macosNames.clearQuarantine, {"/t/w/Orvel OS.app"}),
            "/usr/bin/xattr -dr com.apple.quarantine '/t/w/Orvel OS.app'");
  EXPECT_EQ(commandLine(macosNames.relaunch, {"/Applications/Orvel OS.app"}),
            "(sleep 1; /usr/bin/open -n '/Applications/Orvel OS.app') >/dev/null 2>&1 &");
  EXPECT_EQ(macosNames.manifest, "download/mac.json");
}

TEST(CommandLine, OfLinuxIsSpelledToTheLetter) {
  EXPECT_TRUE(linuxNames.unpack.isEmpty());
  EXPECT_TRUE(linuxNames.clearQuarantine.isEmpty());
  EXPECT_EQ(commandLine(linuxNames.relaunch, {"/opt/Orvel OS.app"}),
            "unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; exec setsid "
            "'/opt/Orvel OS.app'/Contents/Linux/orvel-os) </dev/null >/dev/null 2>&1 &");
  EXPECT_EQ(linuxNames.manifest, "download/linux.json");
}

const std::string archiveAddress = "https://os.test/download/orvel-os-1.3.zip";

std::string information(const std::string &entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
         "</dict></plist>\n";
}
const std::string ourIdentity = "<key>CFBundleIdentifier</key><string>nl.orvel.os</string>";

class Installation : public CoreTest {
 protected:
  Installation() {
    goOnline();
    fake.bundle.folder = root() + "/Toepassingen/Orvel OS.app";
    fake.bundle.texts["CFBundleIdentifier"] = "nl.orvel.os";
    fake.locations.temporaryFolder = root() + "/tijdelijk";
    writeFile(fake.bundle.folder + "/Contents/versie", "oud");
    fake.http.respond(archiveAddress, {{.statusCode = 200, .body = "een archief"}});
    makeWebView();
  }

  std::string working(const std::string &versie = "1.3") const {
    return fake.locations.temporaryFolder + "/orvel-os-update-" + versie;
  }
  /// The archive unpacks to a bundle with this information, or to nothing.
  void unpacksTo(const std::optional<std::string> &info, const std::string &versie = "1.3",
                 const std::string &name = "Orvel OS.app") {
    content_ = info;
    name_ = name;
    versie_ = versie;
  }
  void install(const std::string &versie = "1.3") {
    // The path of the archive is known only when the command is there.
    fake.processes.onLaunch = [this](const LaunchRequest &request) {
      const std::string &command = request.arguments.back();
      if (!command.starts_with("/usr/bin/ditto")) return;
      unpackCommand = command;
      archiveText = readFile(command.substr(22, command.find('\'', 22) - 22));
      workingWasEmpty = std::filesystem::is_empty(working(versie_));
      if (!unpacksToLink.empty()) {
        std::filesystem::create_directory_symlink(unpacksToLink, working() + "/Orvel OS.app");
      }
      if (!content_) return;
      const std::string bundle = working(versie_) + "/" + name_;
      writeFile(bundle + "/Contents/versie", "nieuw");
      if (!content_->empty()) writeFile(bundle + "/Contents/Info.plist", *content_);
    };
    delegate().installeer(*Url::parse(archiveAddress), versie);
    fake.scheduler.runUntilIdle();
  }
  std::string installed() const { return readFile(fake.bundle.folder + "/Contents/versie"); }
  void expectNothingHappened() {
    EXPECT_EQ(installed(), "oud");
    EXPECT_THAT(fake.panels.shown, IsEmpty());
    EXPECT_EQ(fake.record.count("application terminate"), 0U);
    EXPECT_FALSE(fake.application.terminated);
  }

  /// Instead of a bundle: a link to this folder.
  std::string unpacksToLink;
  std::string unpackCommand;
  std::string archiveText;
  bool workingWasEmpty = false;

 private:
  std::optional<std::string> content_;
  std::string name_;
  std::string versie_ = "1.3";
};

TEST_F(Installation, takesItsStepsInOrder) {
  unpacksTo(information(ourIdentity));
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
  EXPECT_EQ(archiveText, "een archief");
  EXPECT_EQ(installed(), "nieuw");

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

/// Records its calls and creates a bundle with the application's identity.
class RecordingUnpacker final : public ReleaseUnpacker {
 public:
  explicit RecordingUnpacker(Record &record) : record_(record) {}

  void unpack(const std::string &archive, const std::string &folder) const override {
    record_.add("unpack " + std::string(std::filesystem::exists(archive) ? "a file" : "nothing") +
                " into " + folder);
    const std::filesystem::path contents = folder + "/Orvel OS.app/Contents";
    std::filesystem::create_directories(contents);
    std::ofstream(contents / "Info.plist") << information(ourIdentity);
    std::ofstream(contents / "versie") << "nieuw";
  }

 private:
  Record &record_;
};

TEST_F(Installation, TakesTheSameStepsWhereThePlatformUnpacks) {
  const RecordingUnpacker unpacker(fake.record);
  fake.unpacker = &unpacker;
  fake.names = linuxNames;
  forgetDelegate();
  makeWebView();
  install();
  const std::string app = fake.bundle.folder;
  EXPECT_THAT(fake.record.take(),
              ElementsAre("download " + archiveAddress + " timeout 60000 ms [X-ORVEL-App: app-key]",
                          "unpack a file into " + working(),
                          "replace " + app + " by " + working() + "/Orvel OS.app",
                          "alert Orvel OS is bijgewerkt naar 1.3"));
  EXPECT_EQ(installed(), "nieuw");
  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), ElementsAre("sh " + *commandLine(linuxNames.relaunch, {app}),
                                              "application terminate", "application terminated"));
}

TEST_F(Installation, OfAVersionWithASingleQuoteIsNotUnpackedByThePlatformEither) {
  const RecordingUnpacker unpacker(fake.record);
  fake.unpacker = &unpacker;
  forgetDelegate();
  makeWebView();
  install("1'3");
  EXPECT_EQ(fake.record.count("unpack"), 0U);
  expectNothingHappened();
}

TEST_F(Installation, goesOnHoweverTheNoticeIsClosed) {
  unpacksTo(information(ourIdentity));
  install();
  fake.panels.answer({std::nullopt, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_TRUE(fake.application.terminated);
}

TEST_F(Installation, startsOneNewInstanceHoweverManyNoticesAreAnswered) {
  for (int time = 0; time < 2; ++time) {
    unpacksTo(information(ourIdentity));
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

TEST_F(Installation, leavesAFolderAloneThatAnotherInstanceWorksIn) {
  unpacksTo(information(ourIdentity));
  std::filesystem::create_directories(working());
  writeFile(working() + "/van een ander", "half");
  {
    const FolderLock other(fake.locations.temporaryFolder);
    ASSERT_FALSE(other.isHeldElsewhere());
    install();
  }
  EXPECT_EQ(installed(), "oud");
  EXPECT_TRUE(std::filesystem::exists(working() + "/van een ander"));
  EXPECT_THAT(fake.panels.shown, IsEmpty());
  unpacksTo(information(ourIdentity));
  install();
  EXPECT_EQ(installed(), "nieuw");
}

TEST_F(Installation, stopsTheServerByTheOrdinaryRoad) {
  delegate().startServer();
  unpacksTo(information(ourIdentity));
  install();
  fake.panels.answer({0, ""});
  fake.scheduler.advance(1s);
  EXPECT_TRUE(fake.application.terminated);
  EXPECT_FALSE(lastServer().isRunning());
}

TEST_F(Installation, needsAnAnswerWithStatus200) {
  unpacksTo(information(ourIdentity));
  for (const int status : {201, 304, 404, 500}) {
    fake.http.respond(archiveAddress, {{.statusCode = status, .body = "fout"}});
    install();
  }
  // No answer, a head without its body, a body without an HTTP response.
  for (const FakeResponse &answer :
       {FakeResponse{}, FakeResponse{.statusCode = 200}, FakeResponse{.body = "een archief"}}) {
    fake.http.respond(archiveAddress, {answer});
    install();
  }
  EXPECT_EQ(unpackCommand, "");
  EXPECT_FALSE(std::filesystem::exists(working()));
  expectNothingHappened();
}

TEST_F(Installation, clearsWhatAnEarlierAttemptLeft) {
  writeFile(working() + "/Orvel OS.app/Contents/Info.plist", information(ourIdentity));
  unpacksTo(std::nullopt);
  install();
  EXPECT_TRUE(workingWasEmpty);
  expectNothingHappened();
}

TEST_F(Installation, needsABundleOfTheRightNameAtTheTop) {
  unpacksTo(information(ourIdentity), "1.3", "Orvel OS 1.3.app");
  install();
  expectNothingHappened();
  EXPECT_TRUE(std::filesystem::exists(working() + "/Orvel OS 1.3.app"));
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
}

TEST_F(Installation, needsABundleThatIsARealFolder) {
  writeFile(root() + "/elders/Contents/Info.plist", information(ourIdentity));
  unpacksToLink = root() + "/elders";
  install();
  EXPECT_TRUE(std::filesystem::is_symlink(working() + "/Orvel OS.app"));
  EXPECT_EQ(fake.record.count("replace"), 0U);
  expectNothingHappened();
}

TEST_F(Installation, needsInformationThatCanBeRead) {
  for (const std::string info : {"", "geen lijst", "<plist><array/></plist>"}) {
    unpacksTo(info);
    install();
    expectNothingHappened();
    EXPECT_TRUE(std::filesystem::exists(working() + "/Orvel OS.app"));
  }
}

TEST_F(Installation, needsTheSameIdentity) {
  for (const std::string identity : {"<key>CFBundleIdentifier</key><string>nl.elders.os</string>",
                                     "<key>CFBundleIdentifier</key><string>nl.Orvel.os</string>",
                                     "<key>CFBundleIdentifier</key><integer>1</integer>", ""}) {
    unpacksTo(information(identity));
    install();
    expectNothingHappened();
  }
  EXPECT_EQ(fake.record.count("sh /usr/bin/xattr"), 0U);
  EXPECT_EQ(fake.record.count("replace"), 0U);
}

TEST_F(Installation, withoutAnIdentityNeedsOneWithout) {
  fake.bundle.texts.erase("CFBundleIdentifier");
  unpacksTo(information(ourIdentity));
  install();
  expectNothingHappened();
  unpacksTo(information("<key>CFBundleIdentifier</key><integer>1</integer>"));
  install();
  EXPECT_EQ(installed(), "nieuw");
}

TEST_F(Installation, endsInSilenceWhenNothingCanBeReplaced) {
  fake.locations.replaceSucceeds = false;
  unpacksTo(information(ourIdentity));
  install();
  expectNothingHappened();
  EXPECT_EQ(fake.record.count("replace"), 1U);
}

TEST_F(Installation, DownloadsNothingWhereTheBundleCannotBeReplaced) {
  fake.locations.isWritable = false;
  unpacksTo(information(ourIdentity));
  install();
  EXPECT_THAT(fake.http.sent, IsEmpty());
  EXPECT_THAT(fake.record.take(), IsEmpty());
  expectNothingHappened();

  fake.locations.isWritable = true;
  std::filesystem::remove_all(fake.bundle.folder);
  install();
  EXPECT_THAT(fake.http.sent, IsEmpty());
}

TEST_F(Installation, ofAVersionWithASlashUsesANestedFolder) {
  unpacksTo(information(ourIdentity), "1/3");
  install("1/3");
  EXPECT_EQ(installed(), "nieuw");
  EXPECT_EQ(fake.record.count("alert Orvel OS is bijgewerkt naar 1/3"), 1U);
}

TEST_F(Installation, ofAVersionWithASingleQuoteRunsNoCommand) {
  unpacksTo(information(ourIdentity), "1'3");
  install("1'; touch x; '3");
  EXPECT_EQ(fake.record.count("sh "), 0U);
  expectNothingHappened();
}

TEST_F(Installation, ofAVersionThatLeadsElsewhereTouchesNothing) {
  writeFile(fake.locations.temporaryFolder + "/van een ander", "blijft");
  for (const std::string versie : {"/..", "/../..", "1.3/../../x"}) install(versie);
  EXPECT_EQ(fake.record.count("sh "), 0U);
  EXPECT_EQ(readFile(fake.locations.temporaryFolder + "/van een ander"), "blijft");
  expectNothingHappened();
}

TEST_F(Installation, inABundleWithASingleQuoteIsReplacedButDoesNotComeBack) {
  fake.bundle.folder = root() + "/Iemand's/Orvel OS.app";
  writeFile(fake.bundle.folder + "/Contents/versie", "oud");
  unpacksTo(information(ourIdentity));
  install();
  EXPECT_EQ(installed(), "nieuw");
  fake.record.take();
  fake.panels.answer({0, ""});
  fake.scheduler.runUntilIdle();
  EXPECT_THAT(fake.record.take(), ElementsAre("application terminate", "application terminated"));
}

TEST_F(Installation, removesNothingWhenTheFolderCannotBeMade) {
  writeFile(fake.locations.temporaryFolder, "een bestand");
  fake.processes.onLaunch = nullptr;
  delegate().installeer(*Url::parse(archiveAddress), "1.3");
  fake.scheduler.runUntilIdle();
  expectNothingHappened();
}

}  // namespace
}  // namespace orvel
