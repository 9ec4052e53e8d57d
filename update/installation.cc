#include "update/installation.h"

#include <utility>

#include "app/app_delegate.h"
#include "base/folder_lock.h"
#include "base/property_list.h"
#include "base/real_folder.h"
#include "server/shell_runner.h"
#include "update/command_line.h"
#include "update/signed_release.h"
#include "update/working_folder.h"
#include "web/server_address.h"

namespace orvel {

namespace {

constexpr const char *bundleIdentifierKey = "CFBundleIdentifier";

/// Runs a command and ignores its result. Blocks.
void runCommand(const Platform &platform, const ShellCommand &command,
                const std::vector<std::string> &paths) {
  if (command.isEmpty()) return;
  // A command whose path cannot be quoted is skipped, which has the effect of a failed one.
  if (const auto line = commandLine(command, paths)) sh(platform.processes, *line);
}

/// Unpacks a release archive into a folder. Ignores errors: replaceBundle checks the unpacked
/// application. Blocks.
void unpack(const Platform &platform, const std::string &archive, const std::string &folder) {
  if (platform.unpacker == nullptr) {
    runCommand(platform, platform.edition.unpack, {archive, folder});
    return;
  }
  // An unpacker needs no quoting, but a path that cannot be quoted ends the
  // installation on macOS, so it does here too.
  if (singleQuoted(archive) && singleQuoted(folder)) platform.unpacker->unpack(archive, folder);
}

/// The version and signature of a release that a server offers.
struct Release {
  std::string versie;
  ReleaseSignature signature;
};

/// Unpacks a release, verifies it and replaces the running application by it.
/// Returns whether the application was replaced. Blocks; any thread but the main thread.
bool replaceBundle(const Platform &platform, const std::string &archive, const Release &release,
                   std::string_view runningVersion) {
  const auto publicKey = platform.bundle.infoText(updateKeyEntry);
  if (publicKey &&
      !isSigned(archive, release.versie, platform.edition.name, release.signature, *publicKey)) {
    return false;
  }
  const std::string temporary = platform.locations.temporary();
  const auto folder = workingFolder(temporary, release.versie);
  if (!folder) return false;
  // Without the lock, this instance could remove the folder into which another one unpacks.
  const FolderLock lock(temporary);
  if (lock.isHeldElsewhere()) return false;
  if (platform.edition.removesOtherWorkingFolders) removeWorkingFolders(temporary);
  if (!createWorkingFolder(temporary, *folder)) return false;
  unpack(platform, archive, *folder);

  const std::string unpacked = *folder + "/Orvel OS.app";
  if (!isRealFolder(unpacked)) return false;
  const auto information = readPlistTexts(unpacked + "/Contents/Info.plist");
  if (!information) return false;
  // Only a release of the same application may replace it.
  if (find(*information, bundleIdentifierKey) != platform.bundle.infoText(bundleIdentifierKey)) {
    return false;
  }
  // isSigned has verified the archive, but not the version and public key in its Info.plist.
  if (publicKey && !matchesRelease(*information, release.versie, runningVersion, release.signature,
                                   *publicKey)) {
    return false;
  }
  // Without this check, a server could replace a code-signed application by one of any origin.
  const auto team = platform.bundle.teamIdentifier();
  if (team && !platform.bundle.isSignedByTeam(unpacked, *team)) return false;

  runCommand(platform, platform.edition.clearQuarantine, {unpacked});
  return platform.locations.replaceItem(platform.bundle.path(), unpacked);
}

}  // namespace

bool isTranslocated(std::string_view bundlePath, const Edition &edition) {
  return !edition.translocationFolder.empty() &&
         bundlePath.find(edition.translocationFolder) != std::string_view::npos;
}

void AppDelegate::installeer(const Url &archive, const std::string &versie,
                             const ReleaseSignature &signature) {
  // Without Info.plist it is unknown whether this build accepts unsigned releases.
  if (!platform_.bundle.hasInfoDictionary()) return;
  // Without the next two checks, every update check would download a release that cannot be
  // installed.
  const std::string bundle = platform_.bundle.path();
  if (isTranslocated(bundle, platform_.edition)) return;
  if (!platform_.locations.canReplaceItem(bundle)) return;
  if (!mayReceiveKey(archive, platform_.listeners)) return;
  platform_.http.downloadTask(
      metSleutel(archive),
      [self = shared_from_this(), release = Release{versie, signature}](const Download &download) {
        if (!download.file || !download.response || download.response->statusCode != 200) return;
        if (replaceBundle(self->platform_, *download.file, release, self->settings_.VERSIE)) {
          self->showUpdateNotice(release.versie);
        }
      });
}

void AppDelegate::showUpdateNotice(const std::string &versie) {
  platform_.mainQueue.post([self = shared_from_this(), versie] {
    const Alert notice{
        .messageText = "Orvel OS is bijgewerkt naar " + versie,
        .informativeText = "De app start opnieuw.",
        .buttons = {"Opnieuw starten"},
    };
    self->platform_.panels.runModal(notice, [self](const AlertAnswer &) { self->relaunch(); });
  });
}

void AppDelegate::relaunch() {
  // The user may answer the alert of a second installation while the application quits.
  if (std::exchange(isRelaunching_, true)) return;
  runCommand(platform_, platform_.edition.relaunch, {platform_.bundle.path()});
  platform_.application.terminate();
}

}  // namespace orvel
