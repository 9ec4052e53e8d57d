#pragma once

#include <functional>
#include <regex>
#include <string>

#include "tests/unit/core_test.h"
#include "update/signed_release.h"

namespace orvel {

inline const std::string archiveUrl = "https://os.test/download/orvel-os-1.3.zip";
inline const std::string identifierEntry =
    "<key>CFBundleIdentifier</key><string>nl.orvel.os</string>";

/// Returns an Info.plist with these entries, which are XML.
inline std::string infoPlist(const std::string &entries = identifierEntry) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
         "</dict></plist>\n";
}

/// A running application and a server that offers an unsigned release. The file
/// Contents/version of a bundle distinguishes the running application ("old") from a release.
class InstallationTest : public CoreTest {
 protected:
  InstallationTest() {
    storeOnlineAddress();
    fake.bundle.folder = root() + "/My Applications/Orvel OS.app";
    fake.bundle.texts["CFBundleIdentifier"] = "nl.orvel.os";
    fake.locations.temporaryFolder = root() + "/temporary";
    writeRunningBundle();
    fake.http.setResponses(archiveUrl, {{.statusCode = 200, .body = "an archive"}});
    // The fake does not execute a command, so unpackArchive does the work of ditto.
    fake.processes.onLaunch = [this](const LaunchRequest &request) {
      static const std::regex unpackCommand("/usr/bin/ditto -x -k '([^']*)' '([^']*)'");
      std::smatch paths;
      if (std::regex_match(request.arguments.back(), paths, unpackCommand)) {
        unpackArchive(paths[1], paths[2]);
      }
    };
    createWebView();
  }

  /// Returns the working folder of a version, into which its archive is unpacked.
  std::string workingFolderFor(const std::string &versie = "1.3") const {
    return fake.locations.temporaryFolder + "/orvel-os-update-" + versie;
  }
  /// Writes the bundle of the running application, also after an installation has replaced it.
  void writeRunningBundle() { writeFile(fake.bundle.folder + "/Contents/version", "old"); }
  /// Writes the bundle of a new release. Writes no Info.plist when its text is empty.
  static void writeRelease(const std::string &bundle, const std::string &info = infoPlist()) {
    writeFile(bundle + "/Contents/version", "new");
    if (!info.empty()) writeFile(bundle + "/Contents/Info.plist", info);
  }
  /// Sets the archive's contents: a bundle with this name and Info.plist.
  void setArchiveContents(const std::string &name, const std::string &info = infoPlist()) {
    unpackArchive = [name, info](const std::string &, const std::string &folder) {
      writeRelease(folder + "/" + name, info);
    };
  }
  /// Installs a version and runs all due tasks.
  void install(const std::string &versie = "1.3") {
    delegate().installeer(*Url::parse(archiveUrl), versie, /*signature=*/{});
    fake.scheduler.runUntilIdle();
  }
  std::string installedVersion() const {
    return contentsOf(fake.bundle.folder + "/Contents/version");
  }
  /// Expects that the application was not replaced, showed no alert and did not quit to restart.
  void expectNotInstalled() {
    EXPECT_EQ(installedVersion(), "old");
    EXPECT_THAT(fake.panels.shown, IsEmpty());
    // The recorded calls of terminate(), by which the core quits.
    EXPECT_EQ(fake.record.count("application terminate"), 0U);
    EXPECT_FALSE(fake.application.terminated);
  }

  /// Simulates the unpacking of the file `archive` into `folder`. By default ignores the contents
  /// of the file, which are not a zip archive, and writes a valid release.
  std::function<void(const std::string &archive, const std::string &folder)> unpackArchive =
      [](const std::string &, const std::string &folder) {
        writeRelease(folder + "/Orvel OS.app");
      };
};

}  // namespace orvel
